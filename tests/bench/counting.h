#pragma once

#include <sys/types.h>

#include <filesystem>
#include <map>
#include <optional>
#include <string>
#include <vector>

namespace velunor::testing {

// What a program takes: instructions and system calls, counted by running it under a tool, and what
// the system itself counts while it runs freely.

/// The moment after the first picture, as a function of the program that begins it.
inline constexpr const char* promptPictured = "velunor::PromptWindow::afterFirstPicture()";
inline constexpr const char* bareWindowPictured = "afterFirstPicture()";
/// The moment of a tick of the countdown.
inline constexpr const char* promptTick = "velunor::ViewController::showRemainingTime()";

/// `command` such that its instructions are counted into files `path`.1, `path`.2 and so on, anew
/// from each call of one of the functions `moments`.
[[nodiscard]] std::vector<std::string> countingInstructions(
    const std::vector<std::string>& command, const std::filesystem::path& path,
    const std::vector<std::string>& moments);

/// The instructions up to the first call of the function `moment`; none while it was not called.
[[nodiscard]] std::optional<double> instructionsUntil(const std::filesystem::path& path,
                                                      const std::string& moment);

/// The instructions of each span that a call of `tick` ended, after the first call of `moment`.
[[nodiscard]] std::vector<double> instructionsOfTicks(const std::filesystem::path& path,
                                                      const std::string& moment,
                                                      const std::string& tick);

/// What a thread or a process has taken.
struct Cost {
    double processorMilliseconds = 0;
    double contextSwitches = 0;
};
/// What each thread of a process has taken so far.
using ThreadCosts = std::map<std::string, Cost>;
[[nodiscard]] ThreadCosts costsOf(pid_t process);
/// What the threads of `after` took since `before`, all together.
[[nodiscard]] Cost costBetween(const ThreadCosts& before, const ThreadCosts& after);

/// The memory that a process has, in KiB.
struct Memory {
    /// Its share of what it shares with others, and all of its own.
    double proportional = 0;
    /// What it alone has written to. Not the "Private_Dirty" of the system, which counts pages of a
    /// program that was only just written to the disk.
    double own = 0;
};
/// Throws where the system does not tell it: of a process that is closed to others only root learns
/// its memory.
[[nodiscard]] Memory memoryOf(pid_t process);

/// `command` such that each of its system calls becomes a line of the file `path`.
[[nodiscard]] std::vector<std::string> tracingCalls(const std::vector<std::string>& command,
                                                    const std::filesystem::path& path);

/// System calls of a time span, in seconds since the epoch.
struct Calls {
    double all = 0;
    double filesOpened = 0;
    /// Calls that asked for a file that is not there.
    double filesMissing = 0;
};
[[nodiscard]] Calls callsBetween(const std::filesystem::path& path, double begin, double end);

}  // namespace velunor::testing
