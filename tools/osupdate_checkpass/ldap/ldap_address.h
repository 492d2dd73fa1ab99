#pragma once

#include <optional>
#include <string>

namespace velunor {

/// Where a directory server is.
struct LdapAddress {
    bool beginsWithTls;
    /// A name, or an address in numbers without brackets.
    std::string host;
    /// 1 to 65535.
    int port;
};

/// The server at "ldaps://host[:port]" or "ldap://host[:port]", a slash at the end allowed; none
/// for any other text. Any thread.
[[nodiscard]] std::optional<LdapAddress> parseLdapAddress(const std::string& uri);

}  // namespace velunor
