#pragma once

#include <chrono>
#include <map>
#include <string>
#include <vector>

namespace velunor {

/// A network directory node.
struct DirectoryNodeSettings {
    /// "ldaps://host[:port]", or "ldap://host[:port]", which is upgraded to TLS before any bind.
    std::string uri;
    /// Where the accounts are; searched with its whole subtree.
    std::string userBase;
    /// Which entry is an account's; each "%u" stands for its escaped name.
    std::string userFilter = "(uid=%u)";
    /// File with the certificates of the authorities to trust, PEM; empty for the system's own.
    std::string certificateAuthorities;
    /// Limit for connecting, for TLS and for each answer; 1 to 60 in a settings file.
    std::chrono::seconds timeout{5};
};

/// Where the credential checker is.
struct CredentialCheckerSettings {
    /// Socket of the system service, which asks PAM.
    std::string socketPath = "/run/velunor/osupdate-checkpass.socket";
    /// The program itself, started for PAM where there is no such socket, and for each network
    /// node.
    std::string program = "/opt/velunor/ostrel_agent/bin/osupdate-checkpass";
    /// Limit for a whole check by PAM. The program's own is shorter.
    std::chrono::milliseconds timeout{std::chrono::seconds{50}};
};

/// The nodes that this machine has beside "/Local/Default".
struct LinuxDirectorySettings {
    /// Names of the nodes that "/Search" asks, in this order.
    std::vector<std::string> searchPath{"/Local/Default"};
    /// Network nodes by their whole name, such as "/LDAPv3/corp".
    std::map<std::string, DirectoryNodeSettings> nodes;
    CredentialCheckerSettings checker;
};

}  // namespace velunor
