#pragma once

#include "platform/process.h"

namespace velunor {

/// The process as the kernel and the password database know it. Any thread.
class LinuxProcessInfo final : public ProcessInfo {
  public:
    [[nodiscard]] std::string bundlePath() const override;
    [[nodiscard]] std::string userName() const override;
};

/// Leaves through _exit, so that a bus thread in the middle of a call keeps its objects.
class LinuxProcessExit final : public ProcessExit {
  public:
    [[noreturn]] void exit(int status) override;
};

class SystemClock final : public Clock {
  public:
    [[nodiscard]] std::chrono::system_clock::time_point now() const override;
};

}  // namespace velunor
