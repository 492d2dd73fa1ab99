#pragma once

#include <sys/types.h>

#include <chrono>
#include <filesystem>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "tests/support/wait.h"

namespace velunor::testing {

using Environment = std::map<std::string, std::string>;

/// What to start and how.
struct Command {
    /// Program and arguments; a program without a slash is looked for in PATH.
    std::vector<std::string> arguments;
    Environment environment;
    /// Files that receive the output; empty discards it.
    std::filesystem::path output{};
    std::filesystem::path errors{};
    /// A descriptor that the program gets as number 3; none when negative.
    int thirdDescriptor = -1;
    mode_t umask = 022;
};

/// How a process ended: its exit status, or the signal that killed it.
struct Ending {
    int status = -1;
    int signal = 0;
    bool operator==(const Ending&) const = default;
};

/// A child process in a process group of its own, with the effective user and group of the test as
/// its only ones. It is killed, with its group, when this object
/// goes, and also when the test itself dies.
class ChildProcess {
  public:
    /// Throws when no process can be made; a program that cannot be started ends with status 127.
    explicit ChildProcess(const Command& command);
    ChildProcess(const ChildProcess&) = delete;
    ChildProcess& operator=(const ChildProcess&) = delete;
    ~ChildProcess();

    [[nodiscard]] pid_t id() const { return id_; }
    [[nodiscard]] bool isRunning() { return !poll(); }

    /// How the process ended, or none when it still runs after `limit`.
    [[nodiscard]] std::optional<Ending> wait(std::chrono::milliseconds limit = patience);

    void sendSignal(int signal) const;

  private:
    bool poll();

    pid_t id_ = -1;
    std::optional<Ending> ending_;
};

}  // namespace velunor::testing
