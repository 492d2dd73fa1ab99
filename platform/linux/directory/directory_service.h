#pragma once

#include <memory>
#include <string>

#include "platform/directory_service.h"
#include "platform/linux/directory/directory_settings.h"

namespace velunor {

/// The directory of a Linux machine: its own accounts ("/Local/Default", by PAM, and the accounts
/// service), the network nodes of the settings, and the search node that lists the nodes to ask.
/// May be used from several threads at once. Operations on nodes block, each at most the limits of
/// the settings.
class LinuxDirectoryService final : public DirectoryService {
  public:
    explicit LinuxDirectoryService(LinuxDirectorySettings settings);

    [[nodiscard]] std::shared_ptr<DirectorySession> defaultSession() override { return session_; }

  private:
    std::shared_ptr<DirectorySession> session_;
};

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
