#pragma once

#include <sys/types.h>

#include <filesystem>
#include <set>
#include <string>
#include <vector>

namespace velunor::testing {

/// What was there before a fault: the processes of the test's machine and the files of its
/// directory. Tells afterwards what is left beyond them.
class Aftermath {
  public:
    explicit Aftermath(std::filesystem::path directory);

    /// Processes that were not there and are none of the desktop's own services, as "name state"
    /// each, once those that are ending have had their time. One that has ended and waits for the
    /// test itself is not left behind: the test stands where init does.
    [[nodiscard]] std::vector<std::string> processesLeft() const;
    /// Files that were not there, other than the logs that a prompt keeps.
    [[nodiscard]] std::vector<std::string> filesLeft() const;

  private:
    [[nodiscard]] std::vector<std::string> newProcesses() const;

    std::filesystem::path directory_;
    std::set<pid_t> processes_;
    std::set<std::filesystem::path> files_;
};

/// The processes that this one has started and not yet taken leave of, as "name state" each.
[[nodiscard]] std::vector<std::string> childrenOf(pid_t process);

/// The processes of the machine that have this name and have not ended.
[[nodiscard]] std::vector<pid_t> processesNamed(const std::string& name);

/// What an access log holds, piece by piece.
struct AccessLogEntries {
    std::size_t starts = 0;
    /// Of these, who has an answer names itself "proceed" or "postpone".
    std::size_t ends = 0;
    std::size_t proceeds = 0;
    /// The first bytes that belong to no whole entry; empty where there are none.
    std::string torn;
};

/// Takes an access log to pieces. The entries of several prompts may stand in any order.
[[nodiscard]] AccessLogEntries entriesOf(const std::string& accessLog);

}  // namespace velunor::testing
