#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "credentials/os_update_util.h"
#include "tests/support/doubles/recording_log.h"
#include "tests/unit/credentials/scripted_machine.h"

namespace velunor::testing {

namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

class GetUserName : public ::testing::Test {
  protected:
    std::optional<std::string> ask() { return OSUpdateUtil::getUserName(consoleUsers, log); }

    ScriptedConsoleUsers consoleUsers;
    RecordingLog log;
};

TEST_F(GetUserName, IsTheNameOfTheConsoleUsersPasswordEntryWithoutALogLine) {
    consoleUsers.identifier = 1001;
    consoleUsers.entries = {{1000, {"ada"}}, {1001, {"grace"}}};
    EXPECT_EQ(ask(), "grace");
    EXPECT_THAT(log.lines(), IsEmpty());
}

TEST_F(GetUserName, IsNoneWhenNobodyIsAtTheConsole) {
    consoleUsers.entries = {{0, {"root"}}};
    EXPECT_EQ(ask(), std::nullopt);
    EXPECT_THAT(log.lines(), ElementsAre("No Console User at the moment"));
}

TEST_F(GetUserName, IsNoneForAnIdentifierWithoutAnEntry) {
    consoleUsers.identifier = 1001;
    EXPECT_EQ(ask(), std::nullopt);
    EXPECT_THAT(log.lines(), ElementsAre("Dint get Pw for 1001"));
}

TEST_F(GetUserName, IsNoneForAnEntryWithoutAName) {
    consoleUsers.identifier = 1001;
    consoleUsers.entries = {{1001, {std::nullopt}}};
    EXPECT_EQ(ask(), std::nullopt);
    EXPECT_THAT(log.lines(), ElementsAre("UID 1001"));
}

TEST_F(GetUserName, IsTheEmptyTextForAnEntryWithAnEmptyName) {
    consoleUsers.identifier = 1001;
    consoleUsers.entries = {{1001, {""}}};
    EXPECT_EQ(ask(), "");
    EXPECT_THAT(log.lines(), IsEmpty());
}

TEST_F(GetUserName, FindsTheSuperuserAtTheConsole) {
    consoleUsers.identifier = 0;
    consoleUsers.entries = {{0, {"root"}}};
    EXPECT_EQ(ask(), "root");
}

TEST_F(GetUserName, LogsTheLargestIdentifierAsAPositiveNumber) {
    consoleUsers.identifier = 4294967295U;
    EXPECT_EQ(ask(), std::nullopt);
    EXPECT_THAT(log.lines(), ElementsAre("Dint get Pw for 4294967295"));
}

}  // namespace

}  // namespace velunor::testing
