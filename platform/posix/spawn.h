#pragma once

#include <sys/types.h>
#include <unistd.h>

#include <span>
#include <string>

namespace velunor {

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
/// that holds a NUL. Any thread.
[[nodiscard]] int spawn(const SpawnRequest& request, pid_t& child);

}  // namespace velunor
