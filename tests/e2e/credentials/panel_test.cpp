// The panel that shows who authorises the update.

#include "tests/e2e/credentials/credentials_test.h"

namespace velunor::testing {
namespace {

class Panel : public CredentialsTest {
  protected:
    [[nodiscard]] bool shows(const std::string& role, const std::string& name) {
        return findControl(controls(), role, name).has_value();
    }
};

TEST_F(Panel, ShowsTheConsoleUserAndAsksForThePassword) {
    startPrompt();
    EXPECT_TRUE(waitForControl("label", "ada")) << systemLog();
    EXPECT_TRUE(shows("text", "Password"));
    EXPECT_TRUE(shows("push button", "Another user"));
    EXPECT_FALSE(shows("text", "User name"));
    EXPECT_FALSE(noticeShows());
    EXPECT_TRUE(logged("Showing Timer Below Credentails\n"));
    EXPECT_TRUE(logged("Unshowing Timer Below OS Info\n"));
    EXPECT_TRUE(logged("Output Secure token is ENABLED for user"));
}

TEST_F(Panel, IsHiddenOnAPromptWithoutCredentialsThoughTheTokenIsChecked) {
    startProgram({testing::reachable(PROMPT_PROGRAM), "OSUpdate", "Debian 12.9", "false", "15",
                  "false", "2"});
    ASSERT_TRUE(waitForControl("push button", "Go ahead")) << systemLog();
    EXPECT_FALSE(shows("label", "ada"));
    EXPECT_FALSE(shows("text", "Password"));
    EXPECT_FALSE(shows("push button", "Another user"));
    EXPECT_TRUE(logged("Unshowing Timer Below Credentails\n"));
    EXPECT_TRUE(logged("Showing Timer Below OS Info\n"));
    EXPECT_TRUE(logged("Output Secure token is ENABLED for user"));
}

TEST_F(Panel, WithoutAConsoleUserAsksForTheNameAndChecksNoToken) {
    leaveSeat();
    startPrompt();
    EXPECT_TRUE(waitForControl("text", "User name")) << systemLog();
    EXPECT_FALSE(shows("push button", "Another user"));
    EXPECT_FALSE(noticeShows());
    EXPECT_TRUE(logged("No Console User at the moment\n"));
    EXPECT_FALSE(logged("Command To Be Executed "));
}

TEST_F(Panel, ConsoleUserWithoutPasswordEntryIsNobody) {
    seat({.name = "ghost", .user = 4242, .group = 4242, .home = "/"});
    startPrompt();
    EXPECT_TRUE(waitForControl("text", "User name")) << systemLog();
    EXPECT_TRUE(logged("Dint get Pw for 4242\n"));
}

TEST_F(Panel, NameThatIsTypedWhereNobodySitsAtTheMachineIsUsed) {
    leaveSeat();
    startService();
    startPrompt();
    typeIntoField("text", "User name", "ada");
    typePassword(password);
    clickToTheEnd("Go ahead");
    EXPECT_TRUE(deliveredCredentials("ada", password)) << delivered();
}

TEST_F(Panel, LinkLetsTheUserTypeANameAndKeepsTheOneThatWasThere) {
    startService();
    startPrompt();
    ASSERT_TRUE(clickButton("Another user"));
    ASSERT_TRUE(waitForControl("text", "User name"));
    EXPECT_FALSE(shows("push button", "Another user"));
    EXPECT_FALSE(shows("label", "ada"));
    typePassword(password);
    clickToTheEnd("Go ahead");
    EXPECT_TRUE(deliveredCredentials("ada", password)) << delivered();
}

TEST_F(Panel, ConsoleUserWithoutTokenSeesTheNoticeFromTheStart) {
    seat(addAccount("bob", password));
    startPrompt();
    EXPECT_TRUE(waitForControl("label", "Not allowed to update.")) << systemLog();
    EXPECT_TRUE(logged("Output Secure token is DISABLED for user"));
}

TEST_F(Panel, LeavingTheNameFieldShowsTheNoticeForAUserWithoutToken) {
    addAccount("bob", password);
    startService();
    startPrompt();
    typeUserName("bob");
    display().screen().pressKey("Tab");
    EXPECT_TRUE(waitForControl("label", "Not allowed to update.")) << systemLog();
    clickToTheEnd("Later");
    EXPECT_EQ(delivered(), R"({"postponse":{"userName":"bob"}})");
}

TEST_F(Panel, LeavingTheNameFieldHidesTheNoticeForAnUnknownUser) {
    seat(addAccount("bob", password));
    startService();
    startPrompt();
    ASSERT_TRUE(waitForControl("label", "Not allowed to update.")) << systemLog();
    typeUserName("nobodyhere");
    display().screen().pressKey("Tab");
    EXPECT_TRUE(waitForLog("Output Unknown user")) << systemLog();
    EXPECT_TRUE(eventually([&] { return !noticeShows(); }));
    clickToTheEnd("Later");
    EXPECT_EQ(delivered(), R"({"postponse":{}})");
}

TEST_F(Panel, LeavingTheNameFieldHidesTheNoticeForAUserWithToken) {
    seat(addAccount("bob", password));
    startService();
    startPrompt();
    ASSERT_TRUE(waitForControl("label", "Not allowed to update.")) << systemLog();
    typeUserName("ada");
    display().screen().pressKey("Tab");
    EXPECT_TRUE(waitForLog("Output Secure token is ENABLED for user")) << systemLog();
    EXPECT_TRUE(eventually([&] { return !noticeShows(); }));
    clickToTheEnd("Later");
    EXPECT_EQ(delivered(), R"({"postponse":{}})");
}

TEST_F(Panel, LeavingThePasswordFieldChecksNoToken) {
    startService();
    startPrompt();
    typePassword("x");
    display().screen().pressKey("Tab");
    clickToTheEnd("Later");
    EXPECT_EQ(timesLogged("Command To Be Executed "), 1U) << systemLog();
}

TEST_F(Panel, ToolThatIsNotThereLeavesNobodyWithAToken) {
    answerTokensWith("exec /nowhere/at/all");
    startPrompt();
    EXPECT_TRUE(waitForControl("label", "Not allowed to update.")) << systemLog();
}

}  // namespace
}  // namespace velunor::testing
