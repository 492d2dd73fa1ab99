#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <csignal>
#include <filesystem>
#include <string>
#include <thread>
#include <vector>

#include "platform/posix/process.h"
#include "tests/support/forked_copy.h"
#include "tests/support/temporary_directory.h"

namespace velunor {
namespace {

ChildProcessResult run(const std::string& path, const std::vector<std::string>& arguments) {
    return LinuxChildProcess().run(path, arguments);
}

ChildProcessResult shell(const std::string& script) {
    return run("/bin/sh", {"-c", script});
}

TEST(ChildProcess, BothStreamsAreMergedInTheOrderOfWriting) {
    const auto result = shell("echo one; echo two >&2; echo three; echo four >&2");
    EXPECT_EQ(result.terminationStatus, 0);
    EXPECT_EQ(result.output, "one\ntwo\nthree\nfour\n");
}

TEST(ChildProcess, OutputIsUnchanged) {
    EXPECT_EQ(shell("printf 'no line end'").output, "no line end");
    EXPECT_EQ(shell("printf '\\377\\376\\000end\\n\\n'").output,
              std::string("\xFF\xFE\0end\n\n", 8));
    EXPECT_EQ(shell(":").output, "");
}

TEST(ChildProcess, ExitStatusIsGivenBack) {
    EXPECT_EQ(shell("exit 3").terminationStatus, 3);
}

TEST(ChildProcess, EndingSignalIsGivenBack) {
    EXPECT_EQ(shell("kill -KILL $$").terminationStatus, SIGKILL);
}

TEST(ChildProcess, ArgumentsArePassedUnquotedAndUnescaped) {
    const auto result =
        run("/usr/bin/env", {"printf", "[%s]", "two words", "", "$HOME", R"(it's "x" \)"});
    EXPECT_EQ(result.output, "[two words][][$HOME][it's \"x\" \\]");
}

TEST(ChildProcess, ToolThatEnvCannotStartGivesItsMessage) {
    const auto result = run("/usr/bin/env", {"/nonexistent/tool", "-secureTokenStatus", "alice"});
    EXPECT_NE(result.terminationStatus, 0);
    EXPECT_THAT(result.output, ::testing::HasSubstr("/nonexistent/tool"));
}

TEST(ChildProcess, ProgramThatDoesNotExistIsANonZeroStatus) {
    EXPECT_NE(run("/nonexistent/program", {}).terminationStatus, 0);
}

TEST(ChildProcess, ArgumentWithANulStartsNothing) {
    const testing::TemporaryDirectory directory;
    const auto result = run("/usr/bin/touch", {directory.file("started"), std::string("a\0b", 3)});
    EXPECT_NE(result.terminationStatus, 0);
    EXPECT_EQ(result.output, "Invalid argument\n");
    EXPECT_FALSE(std::filesystem::exists(directory.file("started")));
}

TEST(ChildProcess, OutputLargerThanAPipeDoesNotStall) {
    constexpr std::size_t size = std::size_t{1} << 20U;
    const auto result = shell("head -c 1048576 /dev/zero | tr '\\0' x");
    EXPECT_EQ(result.output, std::string(size, 'x'));
}

TEST(ChildProcess, GrandchildThatKeepsTheOutputOpenIsNotWaitedFor) {
    const auto result = shell("sleep 600 & echo $!");
    const pid_t grandchild = std::stoi(result.output);
    ASSERT_GT(grandchild, 0);
    EXPECT_EQ(kill(grandchild, SIGKILL), 0) << "it had ended before the call returned";
}

TEST(ChildProcess, StandardInputIsEmpty) {
    EXPECT_EQ(shell("readlink /proc/self/fd/0; cat").output, "/dev/null\n");
}

TEST(ChildProcess, OtherDescriptorsAreNotInherited) {
    const int leaked = open("/dev/null", O_RDONLY);
    ASSERT_GE(leaked, 3);
    const auto result =
        shell("test -e /proc/self/fd/" + std::to_string(leaked) + " && echo inherited");
    close(leaked);
    EXPECT_EQ(result.output, "");
}

TEST(ChildProcess, SignalsHaveTheirDefaultsAgain) {
    const auto outcome = testing::inChild([] {
        sigset_t terminate;
        sigemptyset(&terminate);
        sigaddset(&terminate, SIGTERM);
        sigprocmask(SIG_BLOCK, &terminate, nullptr);
        static_cast<void>(std::signal(SIGPIPE, SIG_IGN));
        return std::to_string(shell("kill -PIPE $$").terminationStatus) + " " +
               std::to_string(shell("kill -TERM $$").terminationStatus);
    });
    EXPECT_EQ(outcome.text, std::to_string(SIGPIPE) + " " + std::to_string(SIGTERM));
}

TEST(ChildProcess, WorksWhereTheCallersStandardStreamsAreClosed) {
    const auto outcome = testing::inChild([] {
        close(STDIN_FILENO);
        close(STDOUT_FILENO);
        close(STDERR_FILENO);
        return shell("echo one; echo two >&2").output;
    });
    EXPECT_EQ(outcome.text, "one\ntwo\n");
}

TEST(ChildProcess, RunsFromSeveralThreadsKeepTheirOutputsApart) {
    constexpr std::size_t count = 8;
    std::vector<std::string> outputs(count);
    std::vector<std::thread> threads;
    for (std::size_t index = 0; index < count; ++index) {
        threads.emplace_back([&output = outputs[index], index] {
            output = shell("echo " + std::to_string(index) + "; echo end >&2").output;
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    for (std::size_t index = 0; index < count; ++index) {
        EXPECT_EQ(outputs[index], std::to_string(index) + "\nend\n");
    }
}

}  // namespace
}  // namespace velunor
