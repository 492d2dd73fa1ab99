// The address of a directory server: an accepted one, written anew from its parts, is the same, and
// its host can be nothing but a name or an address in numbers.
#include "tests/fuzz/fuzzing.h"
#include "tools/osupdate_checkpass/ldap/ldap_address.h"

namespace velunor {

void fuzz(std::string_view input) {
    const auto address = parseLdapAddress(std::string(input));
    if (!address) {
        return;
    }
    constexpr std::string_view signs =
        "abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789.:_-";
    require(!address->host.empty() && address->host.find_first_not_of(signs) == std::string::npos);
    require(address->port >= 1 && address->port <= 65535);
    const bool isNumeric = address->host.find(':') != std::string::npos;
    const std::string text = std::string(address->beginsWithTls ? "ldaps://" : "ldap://") +
                             (isNumeric ? "[" + address->host + "]" : address->host) + ":" +
                             std::to_string(address->port);
    // With its port it may be longer than any that is taken.
    constexpr std::size_t longest = 512;
    const auto again = parseLdapAddress(text);
    require(again.has_value() == (text.size() <= longest));
    require(!again || (again->beginsWithTls == address->beginsWithTls &&
                       again->host == address->host && again->port == address->port));
}

}  // namespace velunor
