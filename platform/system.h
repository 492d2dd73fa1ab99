#pragma once

#include <chrono>
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>

#include "platform/interface.h"

namespace velunor {

// What the logic asks of the operating system.

/// The system log, where every diagnostic line of the program goes. Any thread.
class SystemLog : public Interface {
  public:
    /// Writes one record. Line breaks inside `message` are escaped, so it stays one. A failure to
    /// write is not reported.
    virtual void write(std::string_view message) = 0;
};

/// The wall clock.
class Clock : public Interface {
  public:
    [[nodiscard]] virtual std::chrono::system_clock::time_point now() const = 0;
};

/// Who and where the process is.
class ProcessInfo : public Interface {
  public:
    /// Directory that holds the running program; empty when it cannot be found out.
    [[nodiscard]] virtual std::string bundlePath() const = 0;

    /// Login name of the user who runs the process, read afresh; empty when there is none.
    [[nodiscard]] virtual std::string userName() const = 0;
};

/// Ends the process on purpose.
class ProcessExit : public Interface {
  public:
    /// Flushes what is written and leaves with `status`, without running the destructors of
    /// objects that another thread may still use.
    [[noreturn]] virtual void exit(int status) = 0;
};

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

/// A declared activity that keeps the system from idling while it lasts. Main thread only.
class ProcessActivity : public Interface {
  public:
    /// Names an activity that was begun; never 0.
    using Token = unsigned;

    /// Begins user-initiated work. Never blocks and never fails: where the system has no such
    /// service, that is a log line and the token stands for nothing.
    virtual Token beginUserInitiated(std::string_view reason) = 0;

    /// Ends the activity of `token`; an unknown token is passed over.
    virtual void end(Token token) = 0;
};

/// What the password database says of a user id.
struct PasswordEntry {
    /// Account name; none where the entry has no name.
    std::optional<std::string> name;
};

/// Who is logged in at the machine's console. Main thread only.
class ConsoleUsers : public Interface {
  public:
    /// User id of the console user, none when nobody is logged in at the console.
    [[nodiscard]] virtual std::optional<std::uint32_t> consoleUserIdentifier() = 0;

    /// The password-database entry of a user id, or none.
    [[nodiscard]] virtual std::optional<PasswordEntry> passwordEntry(
        std::uint32_t userIdentifier) = 0;
};

}  // namespace velunor
