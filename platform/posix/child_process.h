#pragma once

#include "platform/child_process.h"

namespace velunor {

/// Starts programs with nothing on standard input. The output is collected in memory that the
/// child writes to directly, so a child that writes more than a pipe holds cannot stall, and a
/// grandchild that keeps the output open cannot keep the caller waiting.
class LinuxChildProcess final : public ChildProcess {
  public:
    [[nodiscard]] ChildProcessResult run(const std::string& launchPath,
                                         std::span<const std::string> arguments) override;
};

}  // namespace velunor
