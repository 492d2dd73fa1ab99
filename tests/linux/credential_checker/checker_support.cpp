#include "tests/linux/credential_checker/checker_support.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <thread>

#include "platform/linux/directory/credential_checker.h"
#include "platform/posix/file_descriptor.h"
#include "tests/support/forked_copy.h"

namespace velunor::testing {

namespace {

struct Pipe {
    Pipe() {
        std::array<int, 2> ends{};
        if (pipe2(ends.data(), O_CLOEXEC) != 0) {
            std::abort();
        }
        reader = FileDescriptor(ends[0]);
        writer = FileDescriptor(ends[1]);
    }
    FileDescriptor reader;
    FileDescriptor writer;
};

enum class StreamEnd { comes, staysAway };

std::string answerTo(const char* program, const std::string& input, StreamEnd end) {
    Pipe question;
    Pipe answer;
    const pid_t checker = fork();
    if (checker == 0) {
        dup2(question.reader.get(), STDIN_FILENO);
        dup2(answer.writer.get(), STDOUT_FILENO);
        execl(program, program, nullptr);
        _exit(EXIT_FAILURE);
    }
    answer.writer = FileDescriptor();
    // The reading end stays open here, so that a checker which reads no more does no harm.
    if (::write(question.writer.get(), input.data(), input.size()) < 0) {
        std::abort();
    }
    if (end == StreamEnd::comes) {
        question.writer = FileDescriptor();
    }
    std::string text;
    std::array<char, 4096> block{};
    ssize_t count = 0;
    while ((count = read(answer.reader.get(), block.data(), block.size())) > 0) {
        text.append(block.data(), static_cast<std::size_t>(count));
    }
    int status = 0;
    waitpid(checker, &status, 0);
    return text + std::to_string(WIFEXITED(status) ? WEXITSTATUS(status) : -WTERMSIG(status));
}

/// Whether a process of the group is at work; one that has ended may wait for its parent forever.
bool isAtWork(pid_t group) {
    for (const auto& entry : std::filesystem::directory_iterator("/proc")) {
        std::ifstream status(entry.path() / "stat");
        std::string line;
        if (!std::getline(status, line) || line.rfind(')') == std::string::npos) {
            continue;
        }
        char state = 0;
        pid_t parent = 0;
        pid_t leader = 0;
        std::istringstream(line.substr(line.rfind(')') + 1)) >> state >> parent >> leader;
        if (leader == group && state != 'Z') {
            return true;
        }
    }
    return false;
}

}  // namespace

std::string requestFor(const std::string& userName, const std::string& password) {
    return userName + '\0' + password + '\0';
}

std::string checkerAnswer(const std::string& input) {
    return answerTo(CHECKPASS_PROGRAM, input, StreamEnd::comes);
}

std::string impatientAnswer(const std::string& input) {
    return answerTo(IMPATIENT_CHECKER_PROGRAM, input, StreamEnd::comes);
}

std::string impatientAnswerWithoutEnd(const std::string& input) {
    return answerTo(IMPATIENT_CHECKER_PROGRAM, input, StreamEnd::staysAway);
}

std::string stackOf(const std::string& authentication, const std::string& account) {
    const std::string module = std::string(" required " PAM_TEST_MODULE " ");
    return "auth" + module + authentication + "\naccount" + module + account + "\n";
}

std::string withPam(const std::string& stack, const std::function<std::string()>& body,
                    unsigned user) {
    const ChildOutcome outcome = inChild([&] {
        enterPrivateNamespace(user);
        mountEmptyOver("/etc/pam.d");
        std::ofstream("/etc/pam.d/velunor-osupdate") << stack << std::flush;
        std::ofstream("/etc/pam.d/other") << "auth required pam_deny.so\n"
                                             "account required pam_deny.so\n"
                                          << std::flush;
        return body();
    });
    return outcome.status == 0 ? outcome.text : "status " + std::to_string(outcome.status);
}

std::string script(const std::string& path, const std::string& commands) {
    std::ofstream(path) << "#!/bin/sh\n" << commands << "\n" << std::flush;
    chmod(path.c_str(), S_IRWXU);
    return path;
}

std::string checked(const CredentialCheckerSettings& settings, const std::string& userName,
                    const std::string& password) {
    const auto error = checkLocalPassword(settings, userName, Secret(password));
    return error ? error->domain + " " + std::to_string(error->code) + " " + error->message
                 : "accepted";
}

bool endsSoon(pid_t group) {
    constexpr int tries = 500;
    for (int count = 0; count < tries && isAtWork(group); ++count) {
        std::this_thread::sleep_for(std::chrono::milliseconds{10});
    }
    return !isAtWork(group);
}

std::chrono::milliseconds durationOf(const std::function<void()>& action) {
    const auto begin = std::chrono::steady_clock::now();
    action();
    return std::chrono::duration_cast<std::chrono::milliseconds>(std::chrono::steady_clock::now() -
                                                                 begin);
}

}  // namespace velunor::testing
