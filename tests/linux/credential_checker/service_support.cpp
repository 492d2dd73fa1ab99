#include "tests/linux/credential_checker/service_support.h"

#include <fcntl.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <system_error>
#include <thread>
#include <utility>
#include <vector>

#include "platform/posix/local_socket.h"
#include "tests/linux/credential_checker/checker_support.h"
#include "tests/linux/credential_checker/listening_socket.h"
#include "tests/support/forked_copy.h"

namespace velunor::testing {

namespace {

constexpr const char* socketPath = "/run/velunor/osupdate-checkpass.socket";

}  // namespace

long unitValue(const std::string& file, const std::string& key) {
    std::ifstream unit(file);
    for (std::string line; std::getline(unit, line);) {
        if (line.starts_with(key + "=")) {
            return std::stol(line.substr(key.size() + 1));
        }
    }
    return -1;
}

CheckerServiceRunner::CheckerServiceRunner(const std::string& program) {
    constexpr int backlog = 64;
    const ListeningSocket listener(socketPath, backlog);
    process_ = fork();
    if (process_ == 0) {
        setpgid(0, 0);
        constexpr int firstPassedDescriptor = 3;
        dup2(listener.descriptor(), firstPassedDescriptor);
        // Where it has that number already nothing was duplicated, and it would be closed.
        fcntl(firstPassedDescriptor, F_SETFD, 0);
        execl(program.c_str(), program.c_str(), "serve", nullptr);
        _exit(EXIT_FAILURE);
    }
    setpgid(process_, process_);
}

CheckerServiceRunner::~CheckerServiceRunner() {
    if (process_ > 0) {
        kill(-process_, SIGKILL);
        waitpid(process_, nullptr, 0);
    }
}

void CheckerServiceRunner::whileStopped(const std::function<void()>& body) const {
    kill(process_, SIGSTOP);
    waitpid(process_, nullptr, WUNTRACED);
    body();
    kill(process_, SIGCONT);
}

std::vector<std::string> CheckerServiceRunner::processes() const {
    std::vector<std::string> found;
    for (const auto& entry : std::filesystem::directory_iterator("/proc")) {
        // "number (name) state parent ..."; one that ends meanwhile has no such line any more.
        std::string line;
        std::getline(std::ifstream(entry.path() / "stat"), line);
        const std::size_t begin = line.find('(');
        const std::size_t end = line.rfind(')');
        if (begin == std::string::npos || end == std::string::npos) {
            continue;
        }
        std::istringstream rest(line.substr(end + 1));
        char state = 0;
        pid_t parent = 0;
        rest >> state >> parent;
        if (parent == process_) {
            std::string calledAs;
            std::getline(std::ifstream(entry.path() / "cmdline"), calledAs, '\0');
            found.push_back(line.substr(begin + 1, end - begin - 1) + " " + calledAs);
        }
    }
    return found;
}

int CheckerServiceRunner::waitForEnd() {
    int status = 0;
    waitpid(std::exchange(process_, 0), &status, 0);
    return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

CredentialCheckerSettings CheckerServiceRunner::settings() {
    CredentialCheckerSettings settings;
    settings.socketPath = socketPath;
    settings.program = "/nonexistent";
    return settings;
}

FileDescriptor CheckerServiceRunner::connection() {
    return connectLocalSocket(SOCK_STREAM, socketPath);
}

FileDescriptor CheckerServiceRunner::request() {
    FileDescriptor connected = connection();
    const std::string request = requestFor("alice", "right");
    send(connected.get(), request.data(), request.size(), MSG_NOSIGNAL);
    shutdown(connected.get(), SHUT_WR);
    return connected;
}

std::string onServiceMachine(const std::string& stack, const std::function<std::string()>& body,
                             unsigned user, const std::string& state) {
    return withPam(
        stack,
        [&] {
            mountEmptyOver("/run");
            std::filesystem::create_directories("/run/velunor");
            std::filesystem::create_directories("/run/systemd/users");
            if (!state.empty()) {
                std::ofstream("/run/systemd/users/" + std::to_string(caller)) << state;
            }
            return body();
        },
        user);
}

std::string faillockStack() {
    const auto faillock = [](const std::string& when) {
        return " pam_faillock.so " + when + " deny=3 nodelay dir=/run/velunor\n";
    };
    return "auth requisite" + faillock("preauth") +
           "auth [success=1 default=ignore] " PAM_TEST_MODULE
           " accept-slowly\n"
           "auth [default=die]" +
           faillock("authfail") + "auth sufficient" + faillock("authsucc") +
           "account required pam_permit.so\n";
}

void guessAtOnce(std::size_t count) {
    std::vector<std::jthread> guessers(count);
    for (std::jthread& guesser : guessers) {
        guesser = std::jthread([] { checked(CheckerServiceRunner::settings(), "alice", "wrong"); });
    }
}

std::uintmax_t judgedGuesses() {
    std::error_code missing;
    const auto size = std::filesystem::file_size("/run/velunor/guesses", missing);
    return missing ? 0 : size;
}

}  // namespace velunor::testing
