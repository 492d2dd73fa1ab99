#include "platform/linux/log/system_log.h"

#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/mman.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <array>
#include <filesystem>
#include <fstream>
#include <ostream>
#include <regex>
#include <sstream>
#include <string>
#include <thread>
#include <vector>

#include "tests/linux/log/error_pipe.h"
#include "tests/support/forked_copy.h"

namespace velunor {
namespace {

using testing::enterPrivateNamespace;
using testing::ErrorPipe;
using testing::inChild;
using testing::lineForm;
using testing::mountEmptyOver;
using testing::readAll;
using testing::takeSocket;

/// A socket that listens for datagrams at `path`, whose directory is made.
int listeningSocket(const std::string& path) {
    std::filesystem::create_directories(std::filesystem::path(path).parent_path());
    const int listener = socket(AF_UNIX, SOCK_DGRAM | SOCK_NONBLOCK, 0);
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    path.copy(address.sun_path, sizeof address.sun_path - 1);
    const bool bound =
        bind(listener, reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0;
    return bound ? listener : -1;
}

std::string datagram(int descriptor) {
    std::array<char, 65536> block{};
    const ssize_t count = recv(descriptor, block.data(), block.size(), MSG_DONTWAIT);
    return count < 0 ? "(nothing)" : std::string(block.data(), static_cast<std::size_t>(count));
}

TEST(SystemLog, LineHasTimeProgramProcessAndText) {
    const auto outcome = inChild([] {
        const ErrorPipe pipe;
        pipe.take();
        LinuxSystemLog().write("Opened Application 100% %s %n");
        std::array<char, 4096> line{};
        const auto count = read(pipe.ends[0], line.data(), line.size());
        return std::to_string(getpid()) + "\n" +
               std::string(line.data(), static_cast<std::size_t>(count));
    });
    ASSERT_EQ(outcome.status, 0);
    const auto lineEnd = outcome.text.find('\n');
    const std::string line = outcome.text.substr(lineEnd + 1);
    std::smatch parts;
    ASSERT_TRUE(std::regex_match(line, parts, std::regex(lineForm))) << line;
    EXPECT_EQ(parts[1], outcome.text.substr(0, lineEnd));
    EXPECT_EQ(parts[2], "Opened Application 100% %s %n");
}

TEST(SystemLog, MarksThatTurnTheDirectionOfReadingAreEscaped) {
    const auto outcome = inChild([] {
        const ErrorPipe pipe;
        pipe.take();
        // NOLINTNEXTLINE(misc-misleading-bidirectional): the marks are what is tested.
        LinuxSystemLog().write("a\u200Eb\u200Fc\u061Cd\u202Ee\u2067f\x01");
        std::array<char, 4096> line{};
        const auto count = read(pipe.ends[0], line.data(), line.size());
        return std::string(line.data(), static_cast<std::size_t>(count));
    });
    EXPECT_THAT(outcome.text, ::testing::EndsWith(
                                  "] a\\u{200E}b\\u{200F}c\\u{61C}d\\u{202E}e\\u{2067}f\\u{1}\n"));
}

TEST(SystemLog, LongRecordIsOneWrite) {
    const std::string text(20000, 'x');
    const auto outcome = inChild([&] {
        // A datagram socket keeps the boundaries of the writes.
        std::array<int, 2> ends{};
        socketpair(AF_UNIX, SOCK_DGRAM, 0, ends.data());
        dup2(ends[1], STDERR_FILENO);
        LinuxSystemLog().write(text);
        return datagram(ends[0]);
    });
    const auto textBegin = outcome.text.find(text);
    ASSERT_NE(textBegin, std::string::npos);
    EXPECT_TRUE(std::regex_match(outcome.text.substr(0, textBegin) + "\n", std::regex(lineForm)));
    EXPECT_EQ(outcome.text.substr(textBegin), text + "\n");
}

TEST(SystemLog, RecordsOfManyThreadsDoNotMix) {
    constexpr std::size_t threadCount = 8;
    constexpr std::size_t recordCount = 50;
    const auto outcome = inChild([] {
        const ErrorPipe pipe;
        pipe.take();
        // Room for all records, since nobody reads before they are written.
        fcntl(STDERR_FILENO, F_SETPIPE_SZ, 1 << 20);
        LinuxSystemLog log;
        std::vector<std::thread> threads;
        for (std::size_t index = 0; index < threadCount; ++index) {
            threads.emplace_back([&log, index] {
                for (std::size_t record = 0; record < recordCount; ++record) {
                    log.write(std::to_string(index) + std::string(record * 10, 'x'));
                }
            });
        }
        for (std::thread& thread : threads) {
            thread.join();
        }
        close(pipe.ends[1]);
        close(STDERR_FILENO);
        return readAll(pipe.ends[0]);
    });
    const std::regex form(lineForm);
    std::istringstream lines(outcome.text);
    std::size_t count = 0;
    for (std::string line; std::getline(lines, line); ++count) {
        EXPECT_TRUE(std::regex_match(line + "\n", form)) << line;
    }
    EXPECT_EQ(count, threadCount * recordCount);
}

TEST(SystemLog, ClosedStandardErrorIsPassedOver) {
    const auto outcome = inChild([] {
        close(STDERR_FILENO);
        LinuxSystemLog().write("text");
        return std::string("alive");
    });
    EXPECT_EQ(outcome.text, "alive");
}

TEST(SystemLog, FileOpenedAfterAClosedStandardErrorHoldsNoRecords) {
    const auto outcome = inChild([] {
        close(STDERR_FILENO);
        LinuxSystemLog log;
        // The next file to be opened would get the number of the closed stream.
        const int file = memfd_create("file", MFD_CLOEXEC);
        log.write("text");
        std::array<char, 4096> content{};
        const auto count = pread(file, content.data(), content.size(), 0);
        return "holds [" + std::string(content.data(), static_cast<std::size_t>(count)) + "]";
    });
    EXPECT_EQ(outcome.text, "holds []");
}

TEST(SystemLog, SyslogDoesNotTakeThePlaceOfAClosedStandardError) {
    const auto outcome = inChild([] {
        enterPrivateNamespace();
        mountEmptyOver("/run");
        mountEmptyOver("/dev");
        const std::ofstream emptyDevice("/dev/null");
        const int syslogListener = listeningSocket("/dev/log");
        close(STDERR_FILENO);
        LinuxSystemLog().write("Not Rebranded");
        const std::string first = datagram(syslogListener);
        return first + "|" + datagram(syslogListener);
    });
    EXPECT_THAT(outcome.text, ::testing::StartsWith("<"));
    EXPECT_THAT(outcome.text, ::testing::EndsWith("]: Not Rebranded|(nothing)"));
}

TEST(SystemLog, ReaderThatIsGoneDoesNotEndTheProcess) {
    const auto outcome = inChild([] {
        const ErrorPipe pipe;
        pipe.take();
        close(pipe.ends[0]);
        LinuxSystemLog().write("text");
        return std::string("alive");
    });
    EXPECT_EQ(outcome.text, "alive");
}

TEST(SystemLog, SocketWhoseReaderIsGoneDoesNotEndTheProcess) {
    const auto outcome = inChild([] {
        close(takeSocket());
        LinuxSystemLog().write("text");
        return std::string("alive");
    });
    EXPECT_EQ(outcome.text, "alive");
}

TEST(SystemLog, FullPipeCostsTheRecordAndNoTime) {
    const auto outcome = inChild([] {
        const ErrorPipe pipe;
        pipe.take();
        const int flags = fcntl(STDERR_FILENO, F_GETFL);
        fcntl(STDERR_FILENO, F_SETFL, flags | O_NONBLOCK);
        while (::write(STDERR_FILENO, "x", 1) == 1) {
        }
        fcntl(STDERR_FILENO, F_SETFL, flags);
        LinuxSystemLog log;
        log.write("text");
        log.write(std::string(100000, 'y'));
        const bool modeIsKept = fcntl(STDERR_FILENO, F_GETFL) == flags;
        return std::string(modeIsKept ? "alive" : "the pipe's mode was changed");
    });
    EXPECT_EQ(outcome.text, "alive");
}

TEST(SystemLog, JournalGetsTheSameTextWithTheProgramsName) {
    const auto outcome = inChild([] {
        enterPrivateNamespace();
        mountEmptyOver("/run");
        const int journal = listeningSocket("/run/systemd/journal/socket");
        LinuxSystemLog().write("Changed Title: 100%s\nMESSAGE=forged");
        return datagram(journal);
    });
    EXPECT_EQ(outcome.text,
              "MESSAGE=Changed Title: 100%s\\nMESSAGE=forged\n"
              "SYSLOG_IDENTIFIER=VelunorOSUpdate\nPRIORITY=5\n");
}

TEST(SystemLog, JournalThatDoesNotReadCostsNoTime) {
    const auto outcome = inChild([] {
        enterPrivateNamespace();
        mountEmptyOver("/run");
        close(STDERR_FILENO);
        const int journal = listeningSocket("/run/systemd/journal/socket");
        LinuxSystemLog log;
        constexpr int moreThanFit = 5000;
        for (int count = 0; count < moreThanFit; ++count) {
            log.write("text");
        }
        int received = 0;
        while (datagram(journal) != "(nothing)") {
            ++received;
        }
        return std::string(received > 0 && received < moreThanFit ? "alive" : "never full");
    });
    EXPECT_EQ(outcome.text, "alive");
}

TEST(SystemLog, SyslogGetsTheTextWhereNoJournalListens) {
    const auto outcome = inChild([] {
        enterPrivateNamespace();
        mountEmptyOver("/run");
        mountEmptyOver("/dev");
        const int syslogListener = listeningSocket("/dev/log");
        LinuxSystemLog().write("Not Rebranded 100%% %s");
        return datagram(syslogListener);
    });
    EXPECT_THAT(outcome.text,
                ::testing::ContainsRegex("VelunorOSUpdate\\[[0-9]+\\]: Not Rebranded 100%% %s$"));
}

TEST(SystemLog, SyslogGetsNothingWhereTheJournalHasNoRoom) {
    const auto outcome = inChild([] {
        enterPrivateNamespace();
        mountEmptyOver("/run");
        mountEmptyOver("/dev");
        close(STDERR_FILENO);
        const std::ofstream emptyDevice("/dev/null");
        const int journal = listeningSocket("/run/systemd/journal/socket");
        const int syslogListener = listeningSocket("/dev/log");
        LinuxSystemLog log;
        constexpr int moreThanFit = 5000;
        for (int count = 0; count < moreThanFit; ++count) {
            log.write("text");
        }
        return datagram(syslogListener) + (datagram(journal) == "(nothing)" ? ", nor" : "");
    });
    EXPECT_EQ(outcome.text, "(nothing)");
}

}  // namespace
}  // namespace velunor
