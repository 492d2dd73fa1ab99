#pragma once

#include <string>

#include "platform/directory_service.h"
#include "platform/linux/directory/directory_settings.h"

namespace velunor {

/// Opens the node of this machine's accounts, each with its picture: the photo is the account's own
/// `.face` file (an empty list where there is none), the picture's path is the one that the
/// accounts service keeps (an empty list where none is set). Both are asked for when they are read;
/// the service may take five seconds. Passwords are checked by PAM. Any thread.
[[nodiscard]] DirectoryNodePointer openLocalNode(const CredentialCheckerSettings& checker);

/// Opens a network node: starts the credential checker `program` as a child, which connects to the
/// server. An error where the server cannot be reached or does not prove its identity. The child
/// has an environment of its own and ends with the node, or with its first check; a further check
/// starts another one. Blocks, at most the node's time limit for each step; any thread.
[[nodiscard]] DirectoryResult<DirectoryNodePointer> openNetworkNode(
    const std::string& program, const DirectoryNodeSettings& settings);

}  // namespace velunor
