// The checker as a program that runs with more rights than the user who starts it. Only a machine
// of its own can have such a file.

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>
#include <utility>
#include <vector>

#include "tests/linux/credential_checker/checker_support.h"
#include "tests/support/machine/machine.h"

namespace velunor::testing {
namespace {

constexpr uid_t stranger = 4003;

constexpr mode_t everybody = S_IRWXU | S_IRGRP | S_IXGRP | S_IROTH | S_IXOTH;

/// Becomes a stranger and the program. Does not return.
[[noreturn]] void becomeStranger(std::vector<std::string> command) {
    std::vector<char*> pointers;
    pointers.reserve(command.size() + 1);
    for (std::string& argument : command) {
        pointers.push_back(argument.data());
    }
    pointers.push_back(nullptr);
    if (setresgid(stranger, stranger, stranger) == 0 &&
        setresuid(stranger, stranger, stranger) == 0) {
        execv(pointers.front(), pointers.data());
    }
    _exit(EXIT_FAILURE);
}

/// What a copy of the checker with these rights, which belongs to root, answers to a stranger who
/// knows the password.
std::string answerOfCopy(mode_t mode, const std::vector<std::string>& arguments = {},
                         const std::string& capabilities = {}) {
    const std::filesystem::path directory = placeOfPrograms();
    const std::string program = directory / "checkpass";
    const std::string module = directory / "module.so";
    std::filesystem::copy_file(CHECKPASS_PROGRAM, program);
    std::filesystem::copy_file(PAM_TEST_MODULE, module);
    chmod(program.c_str(), mode);
    if (!capabilities.empty()) {
        Machine::run({"setcap", capabilities, program});
    }
    std::ofstream("/etc/pam.d/velunor-osupdate")
        << "auth required " + module + " accept\naccount required " + module + " succeed\n";

    std::array<int, 2> question{};
    std::array<int, 2> answer{};
    if (pipe2(question.data(), O_CLOEXEC) != 0 || pipe2(answer.data(), O_CLOEXEC) != 0) {
        return "no pipe";
    }
    const pid_t checker = fork();
    if (checker == 0) {
        dup2(question[0], STDIN_FILENO);
        dup2(answer[1], STDOUT_FILENO);
        std::vector<std::string> command{program};
        command.insert(command.end(), arguments.begin(), arguments.end());
        becomeStranger(std::move(command));
    }
    close(answer[1]);
    const std::string request = requestFor("alice", "right");
    std::string text = ::write(question[1], request.data(), request.size()) < 0 ? "not asked" : "";
    close(question[1]);
    std::array<char, 512> block{};
    ssize_t count = 0;
    while ((count = read(answer[0], block.data(), block.size())) > 0) {
        text.append(block.data(), static_cast<std::size_t>(count));
    }
    waitpid(checker, nullptr, 0);
    close(question[0]);
    close(answer[0]);
    return text;
}

TEST(CheckerWithForeignRights, OrdinaryFileAnswers) {
    EXPECT_EQ(answerOfCopy(everybody), "accepted\n");
}

TEST(CheckerWithForeignRights, SetUserIdIsRefused) {
    EXPECT_EQ(answerOfCopy(everybody | S_ISUID), "refused 6 Permission denied\n");
}

TEST(CheckerWithForeignRights, SetGroupIdIsRefused) {
    EXPECT_EQ(answerOfCopy(everybody | S_ISGID), "refused 6 Permission denied\n");
}

TEST(CheckerWithForeignRights, CapabilityOfTheFileIsRefused) {
    EXPECT_EQ(answerOfCopy(everybody, {}, "cap_net_bind_service+ep"),
              "refused 6 Permission denied\n");
}

TEST(CheckerWithForeignRights, SetUserIdAsksNoDirectoryServer) {
    EXPECT_EQ(answerOfCopy(everybody | S_ISUID,
                           {"ldap", "ldaps://127.0.0.1:1", "dc=test", "(uid=%u)", "", "1"}),
              "refused 50 The system service asks no directory server: Insufficient access\n");
}

}  // namespace
}  // namespace velunor::testing
