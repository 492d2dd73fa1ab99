#include "platform/linux/ldap_address.h"

#include <ldap.h>
#include <strings.h>

#include <memory>
#include <string_view>

namespace velunor {

std::optional<LdapAddress> parseLdapAddress(const std::string& uri) {
    constexpr std::string_view allowed =
        "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789.-_:[]";
    constexpr std::string_view separator = "://";
    constexpr int highestPort = 65535;
    // The library's own reader also takes brackets around the whole, user names, filters, more
    // servers after a blank and any number as a port; what those need is not let through.
    const std::size_t scheme = uri.find(separator);
    if (scheme == std::string::npos) {
        return std::nullopt;
    }
    std::string_view rest = std::string_view(uri).substr(scheme + separator.size());
    if (rest.ends_with('/')) {
        rest.remove_suffix(1);
    }
    if (rest.find_first_not_of(allowed) != std::string_view::npos) {
        return std::nullopt;
    }
    LDAPURLDesc* parsed = nullptr;
    if (ldap_url_parse(uri.c_str(), &parsed) != LDAP_URL_SUCCESS) {
        return std::nullopt;
    }
    const std::unique_ptr<LDAPURLDesc, void (*)(LDAPURLDesc*)> owner(parsed, ldap_free_urldesc);
    LdapAddress address{strcasecmp(parsed->lud_scheme, "ldaps") == 0,
                        parsed->lud_host == nullptr ? "" : parsed->lud_host, parsed->lud_port};
    const bool isKnown = address.beginsWithTls || strcasecmp(parsed->lud_scheme, "ldap") == 0;
    if (!isKnown || address.host.empty() || address.port < 1 || address.port > highestPort) {
        return std::nullopt;
    }
    return address;
}

}  // namespace velunor
