#include "platform/posix/process.h"

#include <fcntl.h>
#include <spawn.h>
#include <sys/mman.h>
#include <sys/wait.h>

#include <array>
#include <cerrno>
#include <csignal>
#include <cstdio>
#include <filesystem>
#include <latch>
#include <system_error>
#include <thread>
#include <utility>
#include <vector>

#include "platform/posix/password_database.h"
#include "platform/posix/trust.h"

namespace velunor {
namespace {

/// What a shell answers for a program that cannot be run.
constexpr std::int32_t cannotRun = 126;

ChildProcessResult notStarted(int error) {
    return {cannotRun, std::generic_category().message(error) + "\n"};
}

/// A file in memory, none with the reason in errno. Every write goes to its end.
FileDescriptor newOutput() {
    FileDescriptor file(memfd_create("output", MFD_CLOEXEC));
    const bool isReady = file.isOpen() && fcntl(file.get(), F_SETFL, O_APPEND) == 0;
    return isReady ? aboveStandardStreams(std::move(file)) : FileDescriptor();
}

std::int32_t waitFor(pid_t child) {
    int status = 0;
    while (waitpid(child, &status, 0) != child) {
        if (errno != EINTR) {
            return cannotRun;
        }
    }
    return WIFSIGNALED(status) ? WTERMSIG(status) : WEXITSTATUS(status);
}

std::string wholeContent(int file) {
    std::string content;
    std::array<char, 4096> block{};
    while (true) {
        const ssize_t count =
            pread(file, block.data(), block.size(), static_cast<off_t>(content.size()));
        if (count <= 0) {
            return content;
        }
        content.append(block.data(), static_cast<std::size_t>(count));
    }
}

void setStreams(posix_spawn_file_actions_t& actions, const StandardStreams& streams) {
    const auto set = [&](int standard, int stream, int mode) {
        if (stream == emptyStream) {
            posix_spawn_file_actions_addopen(&actions, standard, "/dev/null", mode, 0);
        } else if (stream != callersStream) {
            posix_spawn_file_actions_adddup2(&actions, stream, standard);
        }
    };
    set(STDIN_FILENO, streams.input, O_RDONLY);
    set(STDOUT_FILENO, streams.output, O_WRONLY);
    set(STDERR_FILENO, streams.error, O_WRONLY);
    posix_spawn_file_actions_addclosefrom_np(&actions, STDERR_FILENO + 1);
}

void setSignalsAndGroup(posix_spawnattr_t& attributes, ProcessGroup group) {
    sigset_t none;
    sigset_t all;
    sigemptyset(&none);
    sigfillset(&all);
    // Who has had the program ignore these, with nohup(1) for instance, means the child too.
    for (const int number : {SIGHUP, SIGINT, SIGQUIT}) {
        sigdelset(&all, number);
    }
    posix_spawnattr_setsigmask(&attributes, &none);
    posix_spawnattr_setsigdefault(&attributes, &all);
    int flags = POSIX_SPAWN_SETSIGMASK | POSIX_SPAWN_SETSIGDEF;
    if (group == ProcessGroup::own) {
        // Its number stays 0 in the attributes, which stands for the process itself.
        flags |= POSIX_SPAWN_SETPGROUP;
    }
    posix_spawnattr_setflags(&attributes, static_cast<short>(flags));
}

}  // namespace

std::string LinuxProcessInfo::bundlePath() const {
    std::error_code error;
    const auto program = std::filesystem::read_symlink("/proc/self/exe", error);
    return error ? std::string() : program.parent_path().string();
}

std::string LinuxProcessInfo::userName() const {
    const auto entry = passwordEntryOf(getuid());
    return entry ? entry->name.value_or("") : std::string();
}

void LinuxProcessExit::exit(int status) {
    static_cast<void>(std::fflush(nullptr));
    _exit(status);
}

ChildProcessResult LinuxChildProcess::run(const std::string& launchPath,
                                          std::span<const std::string> arguments) {
    // It starts its first argument, and says itself where there is no such program.
    if (launchPath == "/usr/bin/env" && !arguments.empty() &&
        distrust(arguments.front()) == EPERM) {
        return {cannotRun,
                "Somebody else may change the program or a directory that leads to it\n"};
    }
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

int spawn(const SpawnRequest& request, pid_t& child) {
    std::vector<char*> arguments{const_cast<char*>(request.program.c_str())};
    for (const std::string& argument : request.arguments) {
        // An argument cannot carry a NUL; cutting it there would ask for something else.
        if (argument.find('\0') != std::string::npos) {
            return EINVAL;
        }
        arguments.push_back(const_cast<char*>(argument.c_str()));
    }
    arguments.push_back(nullptr);
    posix_spawn_file_actions_t actions{};
    posix_spawnattr_t attributes{};
    posix_spawn_file_actions_init(&actions);
    posix_spawnattr_init(&attributes);
    setStreams(actions, request.streams);
    setSignalsAndGroup(attributes, request.group);
    const int error = posix_spawnp(&child, request.program.c_str(), &actions, &attributes,
                                   arguments.data(), request.environment);
    posix_spawnattr_destroy(&attributes);
    posix_spawn_file_actions_destroy(&actions);
    return error;
}

int lackOf(const Room& room) {
    std::vector<FileDescriptor> descriptors;
    while (descriptors.size() < room.descriptors) {
        descriptors.emplace_back(::open("/dev/null", O_RDONLY | O_CLOEXEC));
        if (!descriptors.back().isOpen()) {
            return errno;
        }
    }
    std::latch enough(1);
    std::vector<std::jthread> threads;
    int error = 0;
    try {
        while (threads.size() < room.threads) {
            threads.emplace_back([&] { enough.wait(); });
        }
    } catch (const std::system_error& lack) {
        error = lack.code().value();
    }
    enough.count_down();
    return error;
}

void occupyStandardStreams() {
    for (const int stream : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO}) {
        if (fcntl(stream, F_GETFD) < 0) {
            // The lowest number that is free is the stream's.
            static_cast<void>(::open("/dev/null", stream == STDERR_FILENO ? O_RDWR : O_RDONLY));
        }
    }
}

FileDescriptor aboveStandardStreams(FileDescriptor descriptor) {
    return descriptor.get() > STDERR_FILENO
               ? std::move(descriptor)
               : FileDescriptor(fcntl(descriptor.get(), F_DUPFD_CLOEXEC, STDERR_FILENO + 1));
}

}  // namespace velunor
