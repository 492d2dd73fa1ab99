#pragma once

#include "platform/linux/directory/directory_settings.h"
#include "tools/osupdate_checkpass/ldap/ldap_connection.h"
#include "tools/osupdate_checkpass/protocol/request.h"

namespace velunor {

/// Asks the server that is behind `connection`, and that `settings` describe, about a name and a
/// password: finds the account's one entry and binds as it. None when it accepts.
[[nodiscard]] std::optional<DirectoryError> askDirectory(LdapConnection& connection,
                                                         const DirectoryNodeSettings& settings,
                                                         const CheckRequest& request);

}  // namespace velunor
