#pragma once

#include <sys/types.h>
#include <unistd.h>

#include <span>
#include <string>

#include "platform/posix/file_descriptor.h"
#include "platform/system.h"

namespace velunor {

// This process, and how it starts others. Any thread.

/// The process as the kernel and the password database know it.
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
    [[nodiscard]] std::chrono::system_clock::time_point now() const override {
        return std::chrono::system_clock::now();
    }
};

/// Starts programs with nothing on standard input. The output is collected in memory that the
/// child writes to directly, so a child that writes more than a pipe holds cannot stall, and a
/// grandchild that keeps the output open cannot keep the caller waiting.
class LinuxChildProcess final : public ChildProcess {
  public:
    [[nodiscard]] ChildProcessResult run(const std::string& launchPath,
                                         std::span<const std::string> arguments) override;
};

/// What a standard stream of a program to start can be beside one of the caller's descriptors.
enum SpawnStream : int {
    /// Nothing to read, and nothing that is kept.
    emptyStream = -1,
    /// The caller's own, as it is.
    callersStream = -2,
};

/// Standard streams of a program to start: descriptors of the caller above those that this
/// replaces, or a SpawnStream.
struct StandardStreams {
    int input = emptyStream;
    int output = emptyStream;
    int error = emptyStream;
};

/// Whether a program to start leads a process group of its own.
enum class ProcessGroup { callers, own };

/// How a program is to be started.
struct SpawnRequest {
    /// Its path; a name without a slash is looked for as a shell does.
    const std::string& program;
    /// Without the program's name.
    std::span<const std::string> arguments;
    StandardStreams streams;
    ProcessGroup group = ProcessGroup::callers;
    /// As execve(2) takes it.
    char* const* environment = environ;
};

/// Starts a program with these standard streams, no other descriptor, and the signals as a fresh
/// program expects them. 0 with the process in `child`, else errno's number; EINVAL for an argument
/// that holds a NUL.
[[nodiscard]] int spawn(const SpawnRequest& request, pid_t& child);

/// What a process may use at the same time beyond what it has.
struct Room {
    std::size_t descriptors = 0;
    /// Each takes memory for its stack too.
    std::size_t threads = 0;
};

/// Whether the system lets this process have that much now. 0, or errno's number of what it lacks.
[[nodiscard]] int lackOf(const Room& room);

/// Opens /dev/null for each standard stream that is closed. Otherwise the next file or connection
/// would get its number, and what is written to the stream. Nothing can be written to a standard
/// output that was closed.
void occupyStandardStreams();

/// The open `descriptor`, or one for the same file where that has the number of a standard stream,
/// as it may where this process runs with one closed; closed, with the reason in errno, where there
/// is none. Not inherited.
[[nodiscard]] FileDescriptor aboveStandardStreams(FileDescriptor descriptor);

}  // namespace velunor
