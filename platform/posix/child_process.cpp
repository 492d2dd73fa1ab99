#include "platform/posix/child_process.h"

#include <fcntl.h>
#include <sys/mman.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <system_error>

#include "platform/posix/file_descriptor.h"
#include "platform/posix/spawn.h"

namespace velunor {

namespace {

/// What a shell answers for a program that cannot be run.
constexpr std::int32_t cannotRun = 126;

ChildProcessResult notStarted(int error) {
    return {cannotRun, std::generic_category().message(error) + "\n"};
}

/// A file in memory, none with the reason in errno. Every write goes to its end.
FileDescriptor newOutput() {
    const FileDescriptor file(memfd_create("output", MFD_CLOEXEC));
    if (!file.isOpen() || fcntl(file.get(), F_SETFL, O_APPEND) != 0) {
        return FileDescriptor();
    }
    // Where the program runs with a standard stream closed, the file must not take its number: the
    // child's own streams are put there.
    return FileDescriptor(fcntl(file.get(), F_DUPFD_CLOEXEC, STDERR_FILENO + 1));
}

std::int32_t waitFor(pid_t child) {
    int status = 0;
    while (waitpid(child, &status, 0) < 0) {
        if (errno != EINTR) {
            return cannotRun;
        }
    }
    return WIFSIGNALED(status) ? WTERMSIG(status) : WEXITSTATUS(status);
}

std::string wholeContent(int file) {
    std::string content;
    std::array<char, 4096> block{};
    ssize_t count = 0;
    while ((count = pread(file, block.data(), block.size(), static_cast<off_t>(content.size()))) >
           0) {
        content.append(block.data(), static_cast<std::size_t>(count));
    }
    return content;
}

}  // namespace

ChildProcessResult LinuxChildProcess::run(const std::string& launchPath,
                                          std::span<const std::string> arguments) {
    const FileDescriptor output = newOutput();
    if (!output.isOpen()) {
        return notStarted(errno);
    }
    pid_t child = 0;
    const int error = spawn({.program = launchPath,
                             .arguments = arguments,
                             .streams = {.output = output.get(), .error = output.get()}},
                            child);
    if (error != 0) {
        return notStarted(error);
    }
    const std::int32_t status = waitFor(child);
    return {status, wholeContent(output.get())};
}

}  // namespace velunor
