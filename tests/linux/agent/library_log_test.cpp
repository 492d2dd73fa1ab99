// The lines of the library's log and where they go; the language that the environment asks for.

#include "agent/linux/library_log.h"

#include <gmock/gmock.h>
#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <ctime>
#include <filesystem>
#include <iterator>

#include "agent/linux/texts.h"
#include "agent/ltarnutils.h"
#include "tests/linux/agent/agent_files.h"

namespace velunor::testing {
namespace {

using ::testing::AnyOf;
using ::testing::ElementsAre;
using ::testing::EndsWith;

std::string localTime() {
    const std::time_t now = std::time(nullptr);
    char text[32]{};  // NOLINT(modernize-avoid-c-arrays): what strftime() takes.
    std::strftime(text, sizeof text, "%Y-%m-%d %H:%M:%S", std::localtime(&now));
    return text;
}

std::ptrdiff_t openDescriptors() {
    const std::filesystem::directory_iterator descriptors("/proc/self/fd");
    return std::distance(begin(descriptors), end(descriptors));
}

using AgentLogLine = AgentFiles;

TEST_F(AgentLogLine, BeginsWithTheLocalTime) {
    initialiseLibrary();
    const std::string before = localTime();
    library_log::write("a line");
    const std::string after = localTime();
    EXPECT_THAT(libraryLog(), AnyOf(before + " a line\n", after + " a line\n"));
}

TEST_F(AgentLogLine, GoesToTheNextStreamWithTheOneBeforeClosed) {
    initialiseLibrary();
    const auto before = openDescriptors();
    Log::changeLogStream("agent", false);
    library_log::write("a line");
    EXPECT_EQ(openDescriptors(), before);
    EXPECT_EQ(libraryLog(), "");
    EXPECT_THAT(readFile(directory() / "log/agent.log"), EndsWith(" a line\n"));
}

/// The stream is opened once in a process, so each of these has one of its own.
class AgentLogAtStartUp : public AgentFiles {
  protected:
    AgentLogAtStartUp() { GTEST_FLAG_SET(death_test_style, "threadsafe"); }
};

TEST_F(AgentLogAtStartUp, LinesThatWereKeptGoToTheFirstStreamAlone) {
    EXPECT_EXIT(
        {
            library_log::write("an early line");
            initialiseLibrary();
            Log::changeLogStream("agent", false);
            const bool once = libraryLog().ends_with(" an early line\n") &&
                              readFile(directory() / "log/agent.log").empty();
            std::_Exit(once ? 0 : 1);
        },
        ::testing::ExitedWithCode(0), "^$");
}

TEST_F(AgentLogAtStartUp, StreamMayGetTheNumberOfAClosedStandardInput) {
    EXPECT_EXIT(
        {
            close(STDIN_FILENO);
            initialiseLibrary();
            library_log::write("a line");
            std::_Exit(libraryLog().ends_with(" a line\n") ? 0 : 1);
        },
        ::testing::ExitedWithCode(0), "^$");
}

using AgentLanguages = AgentFiles;

TEST_F(AgentLanguages, AreThoseOfTheEnvironmentInItsOrder) {
    setenv("LANG", "de", 1);
    EXPECT_THAT(sessionLanguages(), ElementsAre("de"));
    setenv("LC_MESSAGES", "fr", 1);
    EXPECT_THAT(sessionLanguages(), ElementsAre("fr"));
    setenv("LC_ALL", "it", 1);
    EXPECT_THAT(sessionLanguages(), ElementsAre("it"));
    setenv("LANGUAGE", "sv:nb", 1);
    EXPECT_THAT(sessionLanguages(), ElementsAre("sv", "nb", "it"));
}

}  // namespace
}  // namespace velunor::testing
