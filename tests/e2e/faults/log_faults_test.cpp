// A file system of the access log that is full or can only be read, and a limit of file sizes: the
// answer arrives all the same, and the log holds whole entries.

#include <gmock/gmock.h>
#include <sys/mount.h>
#include <sys/resource.h>

#include "tests/e2e/faults/fault_test.h"

namespace velunor::testing {
namespace {

class LogFault : public FaultTest {
  protected:
    static constexpr const char* stamp = "2026-01-02 03:04:05";
    /// One that an earlier prompt has left, as long as it is told.
    static std::string earlierEntries(std::size_t length) {
        std::string text;
        const std::string head = std::string("\n") + stamp + "\t\tOSUpdate\t\t";
        const std::string tail = "\t\tWithout Credentials - false - Debian 12.9 - 15 mins";
        const std::size_t least = head.size() + 1 + tail.size();
        while (text.size() + 2 * least < length) {
            text.append(head).append("u").append(tail);
        }
        const std::size_t left = length - text.size();
        return text.append(head) + std::string(left - head.size() - tail.size(), 'u') + tail;
    }

    /// Puts a file system of its own, of this many bytes, in the place of the logs' directory.
    void mountLogs(const std::string& size) {
        const AsRoot root;
        const std::string place = accessLogPath().parent_path();
        ASSERT_EQ(::mount("none", place.c_str(), "tmpfs", 0, ("mode=0777,size=" + size).c_str()),
                  0);
        mounted_ = place;
    }
    void makeReadOnly() {
        const AsRoot root;
        ASSERT_EQ(::mount("none", mounted_.c_str(), nullptr, MS_REMOUNT | MS_RDONLY, nullptr), 0);
    }

    /// Has the log fill a disk of one page but for this many bytes, and gives what it holds.
    std::string fillPageBut(std::size_t room) {
        constexpr std::size_t page = 4096;
        mountLogs("4k");
        std::string before = earlierEntries(page - room);
        writeFile(accessLogPath(), before);
        return before;
    }

    void TearDown() override {
        if (!mounted_.empty()) {
            const AsRoot root;
            ::umount2(mounted_.c_str(), MNT_DETACH);
        }
    }

    void expectAnswerAndEnd() {
        startServiceProcess("answer");
        startWithPassword();
        answerUntilTheServiceHasIt();
        expectEnd({0, 0});
        EXPECT_TRUE(serviceProcess().messages() == std::vector<std::string>{proceeding()});
    }

  private:
    std::string mounted_;
};

TEST_F(LogFault, FullDiskTearsNoEntry) {
    // There is room for a part of an entry.
    const std::string before = fillPageBut(40);
    expectAnswerAndEnd();
    EXPECT_TRUE(readFile(accessLogPath()) == before);
}

TEST_F(LogFault, DiskThatTakesTheFirstEntryAloneHasItWhole) {
    const std::string before = fillPageBut(120);
    expectAnswerAndEnd();
    const std::string after = readFile(accessLogPath());
    EXPECT_TRUE(after.starts_with(before));
    EXPECT_EQ(entriesOf(after).starts, entriesOf(before).starts + 1);
    EXPECT_EQ(entriesOf(after).ends, 0U);
}

TEST_F(LogFault, ReadOnlyLogIsALineOfTheUsersLogAndNoMore) {
    mountLogs("64k");
    const std::string before = earlierEntries(200);
    writeFile(accessLogPath(), before);
    makeReadOnly();
    expectAnswerAndEnd();
    EXPECT_TRUE(readFile(accessLogPath()) == before);
    EXPECT_TRUE(logged(accessLogPath().string() + ": Read-only file system\n")) << systemLog();
}

TEST_F(LogFault, ReadOnlyDirectoryWithoutALogIsALineAndNoMore) {
    mountLogs("64k");
    makeReadOnly();
    expectAnswerAndEnd();
    EXPECT_TRUE(logged("Failed to create log file at " + accessLogPath().string() + "\n"));
}

TEST_F(LogFault, LimitOfFileSizesTearsNoEntryAndEndsNoPrompt) {
    constexpr std::size_t size = 100'000;
    const std::string before = earlierEntries(size - 40);
    writeFile(accessLogPath(), before);
    // The system log, on standard error, meets the limit too.
    writeFile(directory() / "err", std::string(size - 200, '\n'));
    startServiceProcess("answer");
    noteBefore();
    startProgram({"/usr/bin/prlimit", "--fsize=" + std::to_string(size), reachable(PROMPT_PROGRAM),
                  "OSUpdateWithCred", "Debian 12.9", "false", "15", "false", "2"});
    ASSERT_TRUE(waitForWindow()) << systemLog();
    enterPassword();
    answerUntilTheServiceHasIt();
    expectEnd({0, 0});
    EXPECT_TRUE(serviceProcess().messages() == std::vector<std::string>{proceeding()});
    EXPECT_TRUE(readFile(accessLogPath()) == before);
}

}  // namespace
}  // namespace velunor::testing
