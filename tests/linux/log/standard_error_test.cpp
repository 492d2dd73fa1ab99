// What standard error gets, whatever it is.

#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/mman.h>
#include <sys/resource.h>
#include <unistd.h>

#include <climits>
#include <cstdlib>
#include <ctime>
#include <functional>
#include <iomanip>
#include <regex>
#include <sstream>
#include <string>

#include "platform/linux/log/system_log.h"
#include "tests/linux/log/error_pipe.h"
#include "tests/support/forked_copy.h"

namespace velunor {
namespace {

using ::testing::EndsWith;
using testing::enterPrivateNamespace;
using testing::ErrorPipe;
using testing::inChild;
using testing::lineForm;
using testing::mountEmptyOver;
using testing::readAll;
using testing::takeSocket;

/// More than a pipe takes in one piece, and less than it has room for.
constexpr std::size_t longRecord = std::size_t{4} * PIPE_BUF;

/// What comes through the pipe that is standard error of a forked copy which does this.
std::string piped(const std::function<void()>& body) {
    return inChild([&] {
               const ErrorPipe pipe;
               pipe.take();
               body();
               close(pipe.ends[1]);
               close(STDERR_FILENO);
               return readAll(pipe.ends[0]);
           })
        .text;
}

/// More than a pipe or a socket has room for.
void writeOften() {
    LinuxSystemLog log;
    const std::string text(longRecord, 'x');
    for (int count = 0; count < 100; ++count) {
        log.write(text);
    }
}

TEST(StandardError, RecordBeginsWithTheLocalTime) {
    const std::string answer = piped([] {
        // A zone without summer time, where it is never what UTC says.
        setenv("TZ", "AAA-5:30", 1);
        tzset();
        const std::time_t before = std::time(nullptr);
        LinuxSystemLog().write(std::to_string(before));
    });
    std::istringstream words(answer);
    std::tm told{};
    std::string rest;
    std::string process;
    std::time_t before = 0;
    words >> std::get_time(&told, "%Y-%m-%d %H:%M:%S") >> rest >> process >> before;
    ASSERT_TRUE(words) << answer;
    constexpr std::time_t offset = 5 * 3600 + 30 * 60;
    EXPECT_GE(timegm(&told), before + offset) << answer;
    EXPECT_LE(timegm(&told), std::time(nullptr) + offset) << answer;
}

TEST(StandardError, PipeGetsALongRecordWhole) {
    const std::string text(longRecord, 'x');
    EXPECT_THAT(piped([&] { LinuxSystemLog().write(text); }), EndsWith("] " + text + "\n"));
}

TEST(StandardError, FileGetsALongRecordWhole) {
    const std::string text(longRecord, 'x');
    const auto outcome = inChild([&] {
        const int file = memfd_create("errors", MFD_CLOEXEC);
        dup2(file, STDERR_FILENO);
        LinuxSystemLog().write(text);
        lseek(file, 0, SEEK_SET);
        return readAll(file);
    });
    EXPECT_THAT(outcome.text, EndsWith("] " + text + "\n"));
}

/// A pipe that cannot be opened anew, as that of another user.
TEST(StandardError, PipeThatCannotBeOpenedGetsALongRecordCutToOneLine) {
    const std::string text(longRecord, 'x');
    const std::string both = piped([&] {
        enterPrivateNamespace();
        mountEmptyOver("/proc");
        LinuxSystemLog().write(text);
        LinuxSystemLog().write("next");
    });
    const auto lineEnd = both.find('\n');
    ASSERT_NE(lineEnd, std::string::npos);
    const std::string first = both.substr(0, lineEnd);
    const std::regex form(lineForm);
    EXPECT_TRUE(std::regex_match(first.substr(0, first.find('x')) + "\n", form)) << first;
    EXPECT_EQ(first.size() + 1, std::size_t{PIPE_BUF});
    EXPECT_TRUE(std::regex_match(both.substr(lineEnd + 1), form)) << both.substr(lineEnd + 1);
    EXPECT_THAT(both, EndsWith("] next\n"));
}

TEST(StandardError, PipeThatCannotBeOpenedNorReadCostsRecordsAndNoTime) {
    const auto outcome = inChild([] {
        enterPrivateNamespace();
        mountEmptyOver("/proc");
        const ErrorPipe pipe;
        pipe.take();
        writeOften();
        return std::string("alive");
    });
    EXPECT_EQ(outcome.text, "alive");
}

TEST(StandardError, SocketThatNobodyReadsCostsRecordsAndNoTime) {
    const auto outcome = inChild([] {
        takeSocket();
        writeOften();
        return std::string("alive");
    });
    EXPECT_EQ(outcome.text, "alive");
}

TEST(StandardError, FileThatMayNotGrowDoesNotEndTheProcess) {
    const auto outcome = inChild([] {
        dup2(memfd_create("errors", MFD_CLOEXEC), STDERR_FILENO);
        const rlimit nothing{0, 0};
        setrlimit(RLIMIT_FSIZE, &nothing);
        LinuxSystemLog().write("text");
        return std::string("alive");
    });
    EXPECT_EQ(outcome.text, "alive");
}

}  // namespace
}  // namespace velunor
