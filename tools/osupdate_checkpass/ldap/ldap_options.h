#pragma once

#include <ldap.h>

#include <string>

#include "platform/linux/directory/directory_settings.h"
#include "platform/posix/file_descriptor.h"

namespace velunor {

/// The file with the authorities that a server's certificate is checked against.
[[nodiscard]] std::string authoritiesOf(const DirectoryNodeSettings& settings);

/// Makes an LDAP handle over a connected socket. It never connects by itself. Null when that fails.
[[nodiscard]] LDAP* newLdapHandle(FileDescriptor socket, const std::string& uri);

/// Sets everything that decides what a handle trusts and asks. False when the library takes an
/// option not, such as authorities that cannot be read.
[[nodiscard]] bool setLdapOptions(LDAP* handle, const DirectoryNodeSettings& settings);

}  // namespace velunor
