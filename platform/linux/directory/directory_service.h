#pragma once

#include <memory>

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

    [[nodiscard]] std::shared_ptr<DirectorySession> defaultSession() override;

  private:
    std::shared_ptr<const LinuxDirectorySettings> settings_;
};

}  // namespace velunor
