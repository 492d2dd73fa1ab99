// stop_at_exit FILE PROGRAM [ARGUMENT...]: runs a program and stops it at the very end of its life,
// when it has done all that it does itself and the kernel has taken nothing of it away. Makes FILE
// with the program's number then, and lets it go when FILE is removed. A termination request is
// passed on. Ends with the program's status.

#include <sys/ptrace.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <thread>

namespace {

pid_t program = 0;

void passOn(int number) {
    kill(program, number);
}

void holdUntilRemoved(const std::filesystem::path& file) {
    std::ofstream(file) << program << std::flush;
    while (std::filesystem::exists(file)) {
        std::this_thread::sleep_for(std::chrono::milliseconds(5));
    }
}

}  // namespace

int main(int argc, char** argv) {
    if (argc < 3) {
        return EXIT_FAILURE;
    }
    program = fork();
    if (program == 0) {
        ptrace(PTRACE_TRACEME, 0, nullptr, nullptr);
        execv(argv[2], argv + 2);
        _exit(EXIT_FAILURE);
    }
    static_cast<void>(std::signal(SIGTERM, passOn));
    int status = 0;
    // It stops first where its program begins.
    waitpid(program, &status, 0);
    ptrace(PTRACE_SETOPTIONS, program, nullptr, PTRACE_O_TRACEEXIT | PTRACE_O_EXITKILL);
    ptrace(PTRACE_CONT, program, nullptr, nullptr);
    while (waitpid(program, &status, 0) == program && WIFSTOPPED(status)) {
        const bool isAtItsEnd = status >> 8 == (SIGTRAP | (PTRACE_EVENT_EXIT << 8));
        if (isAtItsEnd) {
            holdUntilRemoved(argv[1]);
        }
        // All other stops are signals, which it is to get.
        ptrace(PTRACE_CONT, program, nullptr, isAtItsEnd ? 0 : WSTOPSIG(status));
    }
    return WIFEXITED(status) ? WEXITSTATUS(status) : EXIT_FAILURE;
}
