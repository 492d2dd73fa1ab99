// Whose process and whose files they are where there are several users. Only a machine of its own
// has them.

#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <filesystem>
#include <string>
#include <utility>

#include "platform/posix/process.h"
#include "platform/posix/trust.h"
#include "tests/support/forked_copy.h"
#include "tests/support/machine/machine.h"
#include "tests/support/temporary_directory.h"

namespace velunor::testing {
namespace {

TEST(RealUser, IsTheOneThatIsNamed) {
    Machine machine;
    const Account account = machine.addAccount("realuser", newPassword());
    const ChildOutcome outcome = inChild([&]() -> std::string {
        const bool isBoth = setresuid(account.user, 0, 0) == 0;
        return isBoth ? LinuxProcessInfo().userName() : "not that user";
    });
    EXPECT_EQ(outcome.text, "realuser");
}

TEST(RealUser, HasRoomForThreadsUpToTheLimitOfTheirs) {
    constexpr uid_t user = 4005;
    const ChildOutcome outcome = inChild([]() -> std::string {
        // Of tasks: this process is one.
        const rlimit limit{16, 16};
        if (setrlimit(RLIMIT_NPROC, &limit) != 0 || setresuid(user, user, user) != 0) {
            return "not that user";
        }
        // All have to be there at the same time.
        return std::to_string(lackOf({.threads = 10})) + "," +
               std::to_string(lackOf({.threads = 200})) + "," +
               std::to_string(lackOf({.threads = 10}));
    });
    EXPECT_EQ(outcome.text, "0," + std::to_string(EAGAIN) + ",0");
}

TEST(OtherUser, IsNotTrustedWithAProgramOrADirectoryOrALink) {
    constexpr uid_t user = 4003;
    constexpr uid_t other = 4004;
    const TemporaryDirectory directory;
    chmod(directory.path().c_str(), S_IRWXU | S_IXGRP | S_IXOTH);
    std::filesystem::create_directory(directory.file("bin"));
    directory.write("bin/program", "");
    std::filesystem::create_symlink("bin/program", directory.file("link"));
    const auto trustOf = [](const std::string& program) {
        return inChild([&] {
                   return setresuid(user, user, user) == 0 ? std::to_string(distrust(program))
                                                           : "not that user";
               })
            .text;
    };
    EXPECT_EQ(trustOf(directory.file("link")), "0");
    for (const char* name : {"bin/program", "bin", "link"}) {
        for (const auto& [owner, trust] : {std::pair(user, 0), std::pair(other, EPERM)}) {
            ASSERT_EQ(lchown(directory.file(name).c_str(), owner, 0), 0);
            EXPECT_EQ(trustOf(directory.file("link")), std::to_string(trust)) << name;
        }
        ASSERT_EQ(lchown(directory.file(name).c_str(), 0, 0), 0);
    }
    // Root does not run what belongs to somebody else.
    ASSERT_EQ(lchown(directory.file("bin").c_str(), other, 0), 0);
    EXPECT_EQ(distrust(directory.file("link")), EPERM);
}

}  // namespace
}  // namespace velunor::testing
