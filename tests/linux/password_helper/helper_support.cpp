#include "tests/linux/password_helper/helper_support.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cstdlib>
#include <fstream>

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

std::string answerTo(const std::string& input, bool withEnd) {
    Pipe question;
    Pipe answer;
    const pid_t helper = fork();
    if (helper == 0) {
        dup2(question.reader.get(), STDIN_FILENO);
        dup2(answer.writer.get(), STDOUT_FILENO);
        execl(HELPER_PROGRAM, HELPER_PROGRAM, nullptr);
        _exit(EXIT_FAILURE);
    }
    answer.writer = FileDescriptor();
    // The reading end stays open here, so that a helper which reads no more does no harm.
    if (::write(question.writer.get(), input.data(), input.size()) < 0) {
        std::abort();
    }
    if (withEnd) {
        question.writer = FileDescriptor();
    }
    std::string text;
    std::array<char, 4096> block{};
    ssize_t count = 0;
    while ((count = read(answer.reader.get(), block.data(), block.size())) > 0) {
        text.append(block.data(), static_cast<std::size_t>(count));
    }
    int status = 0;
    waitpid(helper, &status, 0);
    return text + std::to_string(WIFEXITED(status) ? WEXITSTATUS(status) : -WTERMSIG(status));
}

}  // namespace

std::string requestFor(const std::string& userName, const std::string& password) {
    return userName + '\0' + password + '\0';
}

std::string helperAnswer(const std::string& input) {
    return answerTo(input, true);
}

std::string helperAnswerWithoutEnd(const std::string& input) {
    return answerTo(input, false);
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

std::string checked(const PasswordHelperSettings& settings, const std::string& userName,
                    const std::string& password) {
    const auto error = checkLocalPassword(settings, userName, Secret(password));
    return error ? error->domain + " " + std::to_string(error->code) + " " + error->message
                 : "accepted";
}

std::chrono::milliseconds durationOf(const std::function<void()>& action) {
    const auto begin = std::chrono::steady_clock::now();
    action();
    return std::chrono::duration_cast<std::chrono::milliseconds>(std::chrono::steady_clock::now() -
                                                                 begin);
}

}  // namespace velunor::testing
