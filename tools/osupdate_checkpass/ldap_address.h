#pragma once

#include <optional>
#include <string>

namespace velunor {

/// A directory server's address.
struct LdapAddress {
    /// Whether TLS comes first; else the connection begins in clear text and is upgraded.
    bool beginsWithTls = false;
    std::string host;
    int port = 0;
};

/// Reads "ldaps://host[:port]" or "ldap://host[:port]", a slash at the end allowed; none for
/// anything else that a directory's URI could say, such as other schemes or several servers.
[[nodiscard]] std::optional<LdapAddress> parseLdapAddress(const std::string& uri);

}  // namespace velunor
