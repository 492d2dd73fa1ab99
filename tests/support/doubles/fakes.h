#pragma once

#include <chrono>
#include <string>

#include "platform/system.h"

namespace velunor::testing {

/// What a test sees in place of the end of the process.
struct ExitCalled {
    int status;
};

class ThrowingExit : public ProcessExit {
  public:
    [[noreturn]] void exit(int status) override { throw ExitCalled{status}; }
};

struct FixedClock : Clock {
    [[nodiscard]] std::chrono::system_clock::time_point now() const override { return moment; }
    /// 2024-05-02 12:03:11 UTC until the test says otherwise.
    std::chrono::system_clock::time_point moment{std::chrono::seconds(1714651391)};
};

struct FakeProcessInfo : ProcessInfo {
    [[nodiscard]] std::string bundlePath() const override { return bundle; }
    [[nodiscard]] std::string userName() const override { return user; }
    std::string bundle = "/A/B/Prompt.app";
    std::string user = "alice";
};

}  // namespace velunor::testing
