#include "tests/support/child_process.h"

#include <fcntl.h>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <stdexcept>

namespace velunor::testing {
namespace {

std::vector<char*> pointers(std::vector<std::string>& texts) {
    std::vector<char*> result;
    result.reserve(texts.size() + 1);
    for (std::string& text : texts) {
        result.push_back(text.data());
    }
    result.push_back(nullptr);
    return result;
}

const char* fileOrNull(const std::filesystem::path& path) {
    return path.empty() ? "/dev/null" : path.c_str();
}

// Between fork and exec: only calls that are safe while other threads hold locks.
[[noreturn]] void become(const Command& command, char** arguments, char** environment) {
    ::setpgid(0, 0);
    // A test that acts as another account starts its programs as that account for good.
    if (::setresgid(::getegid(), ::getegid(), ::getegid()) != 0 ||
        ::setresuid(::geteuid(), ::geteuid(), ::geteuid()) != 0) {
        ::_exit(127);
    }
    ::prctl(PR_SET_PDEATHSIG, SIGKILL);
    ::umask(command.umask);
    // A program that stops on purpose leaves no core file behind.
    const rlimit none{0, 0};
    ::setrlimit(RLIMIT_CORE, &none);
    const int input = ::open("/dev/null", O_RDONLY | O_CLOEXEC);
    const int output =
        ::open(fileOrNull(command.output), O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC, 0600);
    const int errors =
        ::open(fileOrNull(command.errors), O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC, 0600);
    ::dup2(input, STDIN_FILENO);
    ::dup2(output, STDOUT_FILENO);
    ::dup2(errors, STDERR_FILENO);
    if (command.thirdDescriptor >= 0) {
        ::dup2(command.thirdDescriptor, 3);
    }
    ::execvpe(arguments[0], arguments, environment);
    ::_exit(127);
}

}  // namespace

ChildProcess::ChildProcess(const Command& command) {
    std::vector<std::string> arguments = command.arguments;
    std::vector<std::string> variables;
    for (const auto& [name, value] : command.environment) {
        variables.emplace_back(name).append("=").append(value);
    }
    const std::vector<char*> argumentPointers = pointers(arguments);
    const std::vector<char*> variablePointers = pointers(variables);
    id_ = ::fork();
    if (id_ < 0) {
        throw std::runtime_error("cannot fork");
    }
    if (id_ == 0) {
        become(command, const_cast<char**>(argumentPointers.data()),
               const_cast<char**>(variablePointers.data()));
    }
    ::setpgid(id_, id_);
}

ChildProcess::~ChildProcess() {
    ::kill(-id_, SIGKILL);
    ::waitpid(id_, nullptr, 0);
}

std::optional<Ending> ChildProcess::wait(std::chrono::milliseconds limit) {
    if (!eventually([this] { return poll(); }, limit)) {
        return std::nullopt;
    }
    return ending_;
}

void ChildProcess::sendSignal(int signal) const {
    ::kill(id_, signal);
}

bool ChildProcess::poll() {
    // Left as a zombie until this object goes: its number, by which the group is killed then, would
    // else be free for a process of somebody else.
    siginfo_t info{};
    if (!ending_ &&
        ::waitid(P_PID, static_cast<id_t>(id_), &info, WEXITED | WNOHANG | WNOWAIT) == 0 &&
        info.si_pid == id_) {
        ending_ =
            info.si_code == CLD_EXITED ? Ending{info.si_status, 0} : Ending{-1, info.si_status};
    }
    return ending_.has_value();
}

}  // namespace velunor::testing
