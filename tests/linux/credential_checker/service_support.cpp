#include "tests/linux/credential_checker/service_support.h"

#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <system_error>
#include <thread>
#include <vector>

#include "platform/posix/local_socket.h"
#include "tests/linux/credential_checker/checker_support.h"
#include "tests/linux/credential_checker/listening_socket.h"
#include "tests/support/forked_copy.h"

namespace velunor::testing {

namespace {

constexpr const char* socketPath = "/run/velunor/osupdate-checkpass.socket";

[[noreturn]] void serve(const ListeningSocket& listener, const std::string& program) {
    const long mostConnections = unitValue(CHECKPASS_SOCKET_UNIT, "MaxConnections");
    long connections = 0;
    while (true) {
        const FileDescriptor connection = listener.accept();
        while (connections > 0 && waitpid(-1, nullptr, WNOHANG) > 0) {
            --connections;
        }
        if (connections == mostConnections) {
            continue;
        }
        ++connections;
        if (fork() == 0) {
            for (const int standard : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO}) {
                dup2(connection.get(), standard);
            }
            execl(program.c_str(), program.c_str(), nullptr);
            _exit(EXIT_FAILURE);
        }
    }
}

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
    const ListeningSocket listener(socketPath);
    process_ = fork();
    if (process_ == 0) {
        setpgid(0, 0);
        serve(listener, program);
    }
    setpgid(process_, process_);
}

CheckerServiceRunner::~CheckerServiceRunner() {
    kill(-process_, SIGKILL);
    waitpid(process_, nullptr, 0);
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
