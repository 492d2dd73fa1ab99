#pragma once

#include "platform/directory_service.h"
#include "platform/linux/directory/directory_settings.h"

namespace velunor {

/// Opens a network directory: connects and starts TLS. An error where the server cannot be reached
/// or does not prove its identity. Blocks, at most the time limit for each step; any thread.
[[nodiscard]] DirectoryResult<DirectoryNodePointer> openLdapNode(const LdapNodeSettings& settings);

}  // namespace velunor
