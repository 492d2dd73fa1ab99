#include "tests/linux/credential_checker/checker_memory.h"

#include <fcntl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <chrono>
#include <csignal>
#include <cstdlib>
#include <fstream>
#include <thread>

#include "platform/posix/file_descriptor.h"

namespace velunor::testing {
namespace {

/// The kilobytes that a line of the process's status tells; 0 when it has no such line.
long kilobytes(pid_t process, const std::string& name) {
    std::ifstream status("/proc/" + std::to_string(process) + "/status");
    for (std::string line; std::getline(status, line);) {
        if (line.starts_with(name + ":")) {
            return std::stol(line.substr(name.size() + 1));
        }
    }
    return 0;
}

/// A process that this one has started; 0 when there is none.
pid_t childOf(pid_t process) {
    const std::string number = std::to_string(process);
    std::ifstream children("/proc/" + number + "/task/" + number + "/children");
    pid_t child = 0;
    return children >> child ? child : 0;
}

}  // namespace

bool holdsSomething(const Memory& memory) {
    return memory.locked > 0;
}

bool holdsMost(const Memory& memory) {
    return memory.locked > memory.whole / 2;
}

Memory memoryOfAWaitingChecker(bool (*isAwaited)(const Memory&), const std::string& request) {
    std::array<int, 2> ends{};
    if (pipe2(ends.data(), O_CLOEXEC) != 0) {
        return {};
    }
    const FileDescriptor reader(ends[0]);
    FileDescriptor writer(ends[1]);
    const pid_t checker = fork();
    if (checker == 0) {
        dup2(reader.get(), STDIN_FILENO);
        execl(CHECKPASS_PROGRAM, CHECKPASS_PROGRAM, nullptr);
        _exit(EXIT_FAILURE);
    }
    if (!request.empty()) {
        static_cast<void>(writeWhole(writer.get(), request));
        writer = FileDescriptor();
    }
    constexpr int tries = 500;
    constexpr std::chrono::milliseconds pause{10};
    Memory memory;
    for (int count = 0; count < tries && !isAwaited(memory); ++count) {
        std::this_thread::sleep_for(pause);
        const pid_t process = request.empty() ? checker : childOf(checker);
        memory = {kilobytes(process, "VmSize"), kilobytes(process, "VmLck")};
    }
    kill(checker, SIGKILL);
    waitpid(checker, nullptr, 0);
    return memory;
}

}  // namespace velunor::testing
