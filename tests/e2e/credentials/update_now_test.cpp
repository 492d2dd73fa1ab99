// What comes of Update Now and Postpone on a prompt that asks for credentials: real accounts, real
// PAM, real key presses.

#include "tests/e2e/credentials/credentials_test.h"

namespace velunor::testing {
namespace {

class UpdateNow : public CredentialsTest {};

TEST_F(UpdateNow, RightPasswordOfTheConsoleUserIsDelivered) {
    startService();
    startPrompt();
    typePassword(password);
    clickToTheEnd("Go ahead");
    EXPECT_TRUE(deliveredCredentials("ada", password)) << delivered();
    EXPECT_TRUE(logged("Validating /Local/Default Username ada\n")) << systemLog();
    EXPECT_TRUE(logged("Password validated Successfully\n"));
    EXPECT_TRUE(logged("Local Validation Success\n"));
    EXPECT_TRUE(logged("Updating Now with Credentials ada\n"));
    EXPECT_NE(readFile(accessLogPath()).find("\t\tproceed - ada\t\tUpdate Now Clicked\t\t"),
              std::string::npos)
        << readFile(accessLogPath());
}

TEST_F(UpdateNow, ReturnInThePasswordFieldMeansUpdateNow) {
    startService();
    startPrompt();
    typePassword(password);
    display().screen().pressKey("Return");
    ASSERT_EQ(process().wait(), (Ending{0, 0})) << systemLog();
    EXPECT_TRUE(deliveredCredentials("ada", password)) << delivered();
}

TEST_F(UpdateNow, WrongPasswordStaysAndAFollowingPostponeNamesNobody) {
    startService();
    startPrompt();
    typePassword("wrong" + password);
    updateNowUntil("Failed to validate credentials ada\n");
    EXPECT_TRUE(logged("Credentails Error Error Domain=PAM Code=")) << systemLog();
    EXPECT_TRUE(process().isRunning());
    EXPECT_TRUE(requests().empty());
    EXPECT_FALSE(noticeShows());
    clickToTheEnd("Later");
    EXPECT_EQ(delivered(), R"({"postponse":{}})");
    EXPECT_TRUE(logged("User Clicked Postpone now - Disabled user --\n"));
}

TEST_F(UpdateNow, CountdownGoesOnAfterARefusal) {
    const auto countdown = [&] {
        for (const Accessible& control : controls()) {
            if (control.showing && control.name.starts_with("Waits for ")) {
                return control.name;
            }
        }
        return std::string();
    };
    startService();
    startPrompt();
    typePassword("x");
    updateNowUntil("Failed to validate credentials ada\n");
    std::string first;
    ASSERT_TRUE(eventually([&] { return !(first = countdown()).empty(); }));
    std::string later;
    EXPECT_TRUE(eventually([&] { return !(later = countdown()).empty() && later != first; }));
}

TEST_F(UpdateNow, RightPasswordAfterAWrongOneIsDelivered) {
    startService();
    startPrompt();
    typePassword("x");
    updateNowUntil("Failed to validate credentials ada\n");
    typePassword("");
    display().screen().pressKey("BackSpace");
    type(password);
    clickToTheEnd("Go ahead");
    EXPECT_TRUE(deliveredCredentials("ada", password)) << delivered();
}

TEST_F(UpdateNow, EmptyPasswordIsRefused) {
    startService();
    startPrompt();
    updateNowUntil("Failed to validate credentials ada\n");
    EXPECT_TRUE(logged("Credentails Error Error Domain=Checker Code=22 \"password: "))
        << systemLog();
    EXPECT_TRUE(process().isRunning());
    EXPECT_TRUE(requests().empty());
}

TEST_F(UpdateNow, EmptyPasswordOfAnAccountWithoutOneIsRefused) {
    const testing::Account carol = addAccount("carol", password, {"sudo"});
    {
        const testing::AsRoot root;
        testing::Machine::run({"passwd", "--delete", carol.name});
    }
    seat(carol);
    startService();
    startPrompt();
    updateNowUntil("Failed to validate credentials carol\n");
    EXPECT_TRUE(requests().empty());
}

TEST_F(UpdateNow, EmptyUserNameIsRefused) {
    leaveSeat();
    startService();
    startPrompt();
    typePassword(password);
    updateNowUntil("Failed to validate credentials \n");
    EXPECT_TRUE(logged("Credentails Error Error Domain=Checker Code=22 \"user name: "))
        << systemLog();
    EXPECT_TRUE(requests().empty());
}

TEST_F(UpdateNow, UserWithoutTokenSeesTheNoticeAndAFollowingPostponeNamesThatUser) {
    addAccount("bob", password);
    startService();
    startPrompt();
    EXPECT_FALSE(noticeShows());
    typeUserName("bob");
    updateNowUntil("Secure Token not enabled for bob\n");
    EXPECT_TRUE(waitForControl("label", "Not allowed to update."));
    EXPECT_FALSE(logged("Validating "));
    EXPECT_TRUE(process().isRunning());
    clickToTheEnd("Later");
    EXPECT_EQ(delivered(), R"({"postponse":{"userName":"bob"}})");
    EXPECT_TRUE(logged("User Clicked Postpone now - Disabled user bob\n"));
    EXPECT_NE(readFile(accessLogPath()).find("\t\tpostpone - bob\t\tPostpone Clicked\t\t"),
              std::string::npos);
}

TEST_F(UpdateNow, TimeOutNamesTheConsoleUserWithoutToken) {
    seat(addAccount("bob", password));
    startService();
    startPrompt("0");
    ASSERT_EQ(process().wait(), (Ending{0, 0})) << systemLog();
    EXPECT_EQ(delivered(), R"({"postponse":{"userName":"bob"}})");
    EXPECT_TRUE(logged("Sending Data to as postpone with disabled user bob\n"));
}

TEST_F(UpdateNow, FailedCheckOfAnotherUserForgetsTheOneWithoutToken) {
    seat(addAccount("bob", password));
    startService();
    startPrompt();
    ASSERT_TRUE(waitForControl("label", "Not allowed to update."));
    typeUserName("nobodyhere");
    typePassword(password);
    updateNowUntil("Failed to validate credentials nobodyhere\n");
    EXPECT_FALSE(noticeShows());
    clickToTheEnd("Later");
    EXPECT_EQ(delivered(), R"({"postponse":{}})");
}

TEST_F(UpdateNow, UnknownUserIsLeftToTheNodesToDecide) {
    startService();
    startPrompt();
    typeUserName("nobodyhere");
    typePassword(password);
    updateNowUntil("Failed to validate credentials nobodyhere\n");
    EXPECT_TRUE(logged("Output Unknown user"));
    EXPECT_TRUE(logged("Validating /Local/Default Username nobodyhere\n"));
    EXPECT_TRUE(logged("Node Details [\"/Local/Default\"]\n"));
    EXPECT_TRUE(requests().empty());
}

TEST_F(UpdateNow, UserUnknownToTheTokenToolProceedsWhenTheLocalNodeAccepts) {
    answerTokensWith("echo Unknown user");
    startService();
    startPrompt();
    typePassword(password);
    clickToTheEnd("Go ahead");
    EXPECT_TRUE(deliveredCredentials("ada", password)) << delivered();
    EXPECT_TRUE(logged("Local Validation Success\n"));
}

TEST_F(UpdateNow, PasswordOfAnotherAccountIsAskedOfTheSystemService) {
    const std::string other = testing::newPassword();
    addAccount("carol", other, {"sudo"});
    startCheckerService();
    startService();
    startPrompt();
    typeUserName("carol");
    typePassword(other);
    clickToTheEnd("Go ahead");
    EXPECT_TRUE(deliveredCredentials("carol", other)) << delivered();
    EXPECT_TRUE(logged("Local Validation Success\n"));
}

TEST_F(UpdateNow, OwnPasswordIsNotThatOfAnotherAccount) {
    addAccount("carol", testing::newPassword(), {"sudo"});
    startCheckerService();
    startService();
    startPrompt();
    typeUserName("carol");
    typePassword(password);
    updateNowUntil("Failed to validate credentials carol\n");
    EXPECT_TRUE(requests().empty());
}

TEST_F(UpdateNow, WithoutTheSystemServiceAnOrdinaryUserCannotUseAnotherAccount) {
    const std::string other = testing::newPassword();
    addAccount("carol", other, {"sudo"});
    startService();
    startPrompt();
    typeUserName("carol");
    typePassword(other);
    updateNowUntil("Failed to validate credentials carol\n");
    EXPECT_TRUE(logged("Credentails Error Error Domain=PAM Code="));
    EXPECT_TRUE(requests().empty());
}

TEST_F(UpdateNow, SystemServiceAnswersNobodyWithoutAnActiveSession) {
    startCheckerService();
    leaveSeat();
    startService();
    startPrompt();
    typeIntoField("text", "User name", "ada");
    typePassword(password);
    updateNowUntil("Failed to validate credentials ada\n");
    EXPECT_TRUE(requests().empty());
}

struct Refusal {
    const char* name;
    /// What makes the account unusable, with its name as the last argument.
    std::vector<std::string> command;
};

std::ostream& operator<<(std::ostream& stream, const Refusal& refusal) {
    return stream << refusal.name;
}

class UnusableAccount : public UpdateNow, public ::testing::WithParamInterface<Refusal> {};

TEST_P(UnusableAccount, IsRefusedWithItsRightPassword) {
    std::vector<std::string> command = GetParam().command;
    command.push_back(user.name);
    {
        const testing::AsRoot root;
        testing::Machine::run(command);
    }
    startCheckerService();
    startService();
    startPrompt();
    typePassword(password);
    updateNowUntil("Failed to validate credentials ada\n");
    EXPECT_TRUE(logged("Credentails Error Error Domain=PAM Code=")) << systemLog();
    EXPECT_TRUE(requests().empty());
}

INSTANTIATE_TEST_SUITE_P(
    UpdateNow, UnusableAccount,
    ::testing::Values(Refusal{"Locked", {"usermod", "--lock"}},
                      Refusal{"Expired", {"usermod", "--expiredate", "2020-01-01"}},
                      Refusal{"MustChangeItsPassword", {"chage", "--lastday", "0"}}),
    [](const auto& instance) { return std::string(instance.param.name); });

}  // namespace
}  // namespace velunor::testing
