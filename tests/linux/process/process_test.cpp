#include "platform/posix/process.h"

#include <gtest/gtest.h>
#include <pwd.h>
#include <unistd.h>

#include <array>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <string>

#include "tests/support/forked_copy.h"
#include "tests/support/temporary_directory.h"

namespace velunor {
namespace {

TEST(ProcessInfo, BundlePathIsTheProgramsDirectoryWhereverItIsStartedFrom) {
    const auto outcome = testing::inChild(
        [] { return chdir("/") == 0 ? LinuxProcessInfo().bundlePath() : std::string("no chdir"); });
    EXPECT_EQ(outcome.text, TEST_PROGRAM_DIRECTORY);
}

TEST(ProcessInfo, UserNameIsTheAccountOfTheProcess) {
    const passwd* entry = getpwuid(getuid());
    ASSERT_NE(entry, nullptr);
    EXPECT_EQ(LinuxProcessInfo().userName(), entry->pw_name);
}

TEST(ProcessInfo, UserNameIsReadAfresh) {
    const auto outcome = testing::inChild([] {
        const LinuxProcessInfo info;
        static_cast<void>(info.userName());
        const testing::TemporaryDirectory directory;
        directory.write("passwd", "renamed:x:4242:4242::/:/bin/sh\n");
        testing::enterPrivateNamespace(4242);
        testing::mountFileOver(directory.file("passwd"), "/etc/passwd");
        return info.userName();
    });
    EXPECT_EQ(outcome.text, "renamed");
}

TEST(ProcessInfo, UserWithoutAnAccountHasAnEmptyName) {
    const auto outcome = testing::inChild([] {
        const testing::TemporaryDirectory directory;
        directory.write("passwd", "root:x:0:0::/:/bin/sh\n");
        testing::enterPrivateNamespace(4242);
        testing::mountFileOver(directory.file("passwd"), "/etc/passwd");
        return "<" + LinuxProcessInfo().userName() + ">";
    });
    EXPECT_EQ(outcome.text, "<>");
}

TEST(Clock, TellsTheSystemsTime) {
    const auto before = std::chrono::system_clock::now();
    const auto now = SystemClock().now();
    EXPECT_GE(now, before);
    EXPECT_LE(now, std::chrono::system_clock::now());
}

TEST(ProcessExit, FlushesWhatIsWrittenAndLeavesWithTheStatus) {
    const testing::TemporaryDirectory directory;
    const auto outcome = testing::inChild([&]() -> std::string {
        std::FILE* file = std::fopen(directory.file("out").c_str(), "w");
        static_cast<void>(std::fputs("written", file));
        LinuxProcessExit().exit(7);
    });
    EXPECT_EQ(outcome.status, 7);
    EXPECT_EQ(directory.read("out"), "written");
}

TEST(ProcessExit, RunsNoExitHandlers) {
    const auto outcome = testing::inChild([]() -> std::string {
        static_cast<void>(std::atexit([] { _exit(99); }));
        LinuxProcessExit().exit(0);
    });
    EXPECT_EQ(outcome.status, 0);
}

}  // namespace
}  // namespace velunor
