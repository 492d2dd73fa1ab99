#pragma once

#include <optional>

#include "tools/osupdate_checkpass/ldap/ldap_handle.h"
#include "tools/osupdate_checkpass/protocol/messages.h"

namespace velunor {

/// A connection to the server that `settings` describe, inside TLS and with the server's
/// certificate checked. Up to three steps.
[[nodiscard]] DirectoryResult<LdapHandle> openDirectory(const DirectoryNodeSettings& settings,
                                                        const StepLimit& limit);

/// Asks the server behind such a connection about a name and a password, once: finds the account's
/// one entry and binds as it, in two steps. None when it accepts. An account that must change its
/// password first is refused; what the server refers to elsewhere is not asked.
[[nodiscard]] std::optional<DirectoryError> askDirectory(LDAP* handle,
                                                         const DirectoryNodeSettings& settings,
                                                         const CheckRequest& request,
                                                         const StepLimit& limit);

}  // namespace velunor
