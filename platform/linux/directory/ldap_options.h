#pragma once

#include <ldap.h>

#include <string>

#include "platform/linux/directory/directory_settings.h"

namespace velunor {

/// The file with the authorities that a server's certificate is checked against.
[[nodiscard]] std::string authoritiesOf(const LdapNodeSettings& settings);

/// Makes an LDAP handle over the connected `socket`, which stays the caller's, without any layer to
/// read and write with. It never connects by itself. Null when that fails. Any thread.
[[nodiscard]] LDAP* newLdapHandle(int socket, const std::string& uri);

/// Sets everything that decides what a handle trusts and asks, so that neither the environment nor
/// the user's files, which the library reads by itself, can weaken or redirect a check. False when
/// the library takes an option not, such as authorities that cannot be read.
[[nodiscard]] bool setLdapOptions(LDAP* handle, const LdapNodeSettings& settings);

}  // namespace velunor
