#pragma once

#include <string>

#include "platform/directory_service.h"
#include "platform/posix/file_descriptor.h"
#include "tools/osupdate_checkpass/ldap/step_limit.h"

namespace velunor {

/// A connection to a directory server.
struct LdapSocket {
    /// Close-on-exec.
    FileDescriptor socket;
    /// Whether TLS comes first; else the connection begins in clear text and is upgraded.
    bool beginsWithTls = false;
};

/// Connects to the server at "ldaps://host[:port]" or "ldap://host[:port]", a slash at the end
/// allowed; anything else that a directory's URI could say, such as other schemes or several
/// servers, is an error. Looks the name up and takes the first address that answers, all in one
/// step; a silent address uses up no more than its share of the time.
[[nodiscard]] DirectoryResult<LdapSocket> connectToServer(const std::string& uri, StepLimit& steps);

}  // namespace velunor
