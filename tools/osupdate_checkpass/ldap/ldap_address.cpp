#include "tools/osupdate_checkpass/ldap/ldap_address.h"

#include <regex>

namespace velunor {

std::optional<LdapAddress> parseLdapAddress(const std::string& uri) {
    constexpr std::size_t longest = 512;
    constexpr int defaultPort = 389;
    constexpr int defaultTlsPort = 636;
    constexpr int highestPort = 65535;
    // Narrower than the library's own reader, which takes filters, other kinds of connection and
    // several servers.
    static const std::regex form(
        R"(ldap(s?)://(?:\[([0-9a-f:.]+)\]|([a-z0-9._-]+))(?::(\d{1,5}))?/?)", std::regex::icase);
    std::smatch parts;
    if (uri.size() > longest || !std::regex_match(uri, parts, form)) {
        return std::nullopt;
    }
    const bool beginsWithTls = parts.length(1) != 0;
    int port = beginsWithTls ? defaultTlsPort : defaultPort;
    if (parts[4].matched) {
        port = std::stoi(parts.str(4));
    }
    if (port < 1 || port > highestPort) {
        return std::nullopt;
    }
    return LdapAddress{.beginsWithTls = beginsWithTls,
                       .host = parts[2].matched ? parts.str(2) : parts.str(3),
                       .port = port};
}

}  // namespace velunor
