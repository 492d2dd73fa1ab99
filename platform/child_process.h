#pragma once

#include <cstdint>
#include <span>
#include <string>

#include "platform/interface.h"

namespace velunor {

/// How a child process ended and what it wrote.
struct ChildProcessResult {
    /// Exit status, or the number of the signal that ended the child.
    std::int32_t terminationStatus = 0;
    /// Standard output and standard error merged, in the order of writing; any bytes.
    std::string output;
};

/// Starts programs.
class ChildProcess : public Interface {
  public:
    /// Runs the program at `launchPath` with `arguments` (the program's name not among them), waits
    /// until it exits and then reads what it wrote. Blocks; any thread. A program that cannot be
    /// started gives a non-zero status and whatever text there is about it.
    [[nodiscard]] virtual ChildProcessResult run(const std::string& launchPath,
                                                 std::span<const std::string> arguments) = 0;
};

}  // namespace velunor
