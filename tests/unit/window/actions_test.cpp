#include "tests/unit/window/prompt_fixture.h"

namespace velunor::testing {
namespace {

using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::Not;
using ::testing::StartsWith;

class ActionsTest : public PromptFixture {
  protected:
    void openWithCredentials(const std::string& user, const std::string& password) {
        open("OSUpdateWithCred", "true");
        controls.userNameTextField.value = user;
        controls.passwordTextFiled.value = password;
    }
    int pressUpdateNow() {
        return exitStatusOf([this] { controller->updateNow(); });
    }
    int pressPostpone() {
        return exitStatusOf([this] { controller->postponeDeployment(); });
    }
    [[nodiscard]] std::size_t shakes() const {
        return controls.passwordTextFiled.plainLayer.animations.size();
    }
};

using ActionsDeathTest = ActionsTest;

TEST_F(ActionsTest, UpdateNowWithoutCredentialsProceedsAndReadsNoField) {
    open("OSUpdate", "false");
    controls.userNameTextField.value = "alice";
    controls.passwordTextFiled.value = "typed";
    controls.userNameTextField.reads = 0;
    EXPECT_EQ(pressUpdateNow(), 0);
    EXPECT_THAT(
        linesSinceOpening(),
        ElementsAre("Update Now Clicked", "Updating Now without Credentials", "Reply Received OK"));
    EXPECT_EQ(sentJson(), R"({"proceed":{}})");
    EXPECT_EQ(agent().requests.front().first, "PatchOSUpdateNotificationStatus");
    EXPECT_THAT(agent().entries.back().second,
                StartsWith("\t\tproceed - NA\t\tUpdate Now Clicked\t\t"));
    EXPECT_EQ(controls.userNameTextField.reads, 0);
    EXPECT_EQ(controls.passwordTextFiled.reads, 0);
    EXPECT_THAT(childProcess.runs, IsEmpty());
}

TEST_F(ActionsTest, UpdateNowWithoutInputProceedsWithoutCredentials) {
    makeController({});
    EXPECT_EQ(pressUpdateNow(), 0);
    EXPECT_EQ(sentJson(), R"({"proceed":{}})");
}

TEST_F(ActionsTest, PostponeWithoutARememberedUserNamesNobody) {
    open();
    EXPECT_EQ(pressPostpone(), 0);
    EXPECT_THAT(linesSinceOpening(),
                ElementsAre("User Clicked Postpone now - Disabled user --", "Reply Received OK"));
    EXPECT_EQ(sentJson(), R"({"postponse":{}})");
    EXPECT_THAT(agent().entries.back().second,
                StartsWith("\t\tpostpone - NA\t\tPostpone Clicked\t\t"));
}

TEST_F(ActionsTest, PostponeReadsNoField) {
    openWithCredentials("carol", "typed");
    controls.userNameTextField.reads = 0;
    EXPECT_EQ(pressPostpone(), 0);
    EXPECT_EQ(controls.userNameTextField.reads, 0);
    EXPECT_EQ(controls.passwordTextFiled.reads, 0);
}

TEST_F(ActionsTest, UserWithoutATokenIsRefusedAndRemembered) {
    openWithCredentials("bob", "right");
    childProcess.outputForUser["bob"] = "Secure token is DISABLED\n";
    EXPECT_EQ(pressUpdateNow(), -1);
    EXPECT_THAT(agent().requests, IsEmpty());
    EXPECT_THAT(accounts.checks, IsEmpty());
    EXPECT_EQ(controls.passwordTextFiled.reads, 0);
    EXPECT_EQ(log.lines().back(), "Secure Token not enabled for bob");
    EXPECT_FALSE(controls.unsupportedInfoStackView.hidden);
    EXPECT_EQ(controls.passwordToUnspportedInfoConstraint.priority, 750);
    EXPECT_EQ(controls.passwordToUserNameConstraint.priority, 250);
    EXPECT_EQ(controller->lastSecureTokenDisabledUser(), "bob");
    EXPECT_EQ(shakes(), 0U);
}

TEST_F(ActionsTest, PostponeAfterARefusalNamesThatUser) {
    openWithCredentials("bob", "right");
    childProcess.outputForUser["bob"] = "";
    EXPECT_EQ(pressUpdateNow(), -1);
    EXPECT_EQ(pressPostpone(), 0);
    EXPECT_THAT(log.lines(), Contains("User Clicked Postpone now - Disabled user bob"));
    EXPECT_EQ(sentJson(), R"({"postponse":{"userName":"bob"}})");
    EXPECT_THAT(agent().entries.back().second,
                StartsWith("\t\tpostpone - bob\t\tPostpone Clicked\t\t"));
}

TEST_F(ActionsTest, PasswordThatTheLocalNodeAcceptsProceeds) {
    openWithCredentials("alice", "p4ss");
    accounts.nodes["/Local/Default"].accepted = {{"alice", "p4ss"}};
    EXPECT_EQ(pressUpdateNow(), 0);
    EXPECT_THAT(linesSinceOpening(),
                ElementsAre("Update Now Clicked",
                            "Command To Be Executed [\"/the/token\", \"-secureTokenStatus\", "
                            "\"alice\"]",
                            "Output ENABLED\n", "Validating /Local/Default Username alice",
                            "Password validated Successfully", "Local Validation Success",
                            "Updating Now with Credentials alice", "Reply Received OK"));
    EXPECT_EQ(sentJson(), R"({"proceed":{"userName":"alice","passwd":"p4ss"}})");
    EXPECT_THAT(agent().entries.back().second,
                StartsWith("\t\tproceed - alice\t\tUpdate Now Clicked\t\t"));
    EXPECT_THAT(accounts.checks, ElementsAre("/Local/Default alice:p4ss"));
}

TEST_F(ActionsTest, PasswordThatOnlyAnotherNodeAcceptsProceeds) {
    openWithCredentials("alice", "p4ss");
    accounts.nodes["/Search"].details = searchPathDetails({"/Local/Default", "/LDAPv3/corp"});
    accounts.nodes["/LDAPv3/corp"].accepted = {{"alice", "p4ss"}};
    EXPECT_EQ(pressUpdateNow(), 0);
    EXPECT_THAT(linesSinceOpening(), Contains("Domain Validation Success"));
    EXPECT_THAT(linesSinceOpening(), Not(Contains("Local Validation Success")));
    EXPECT_EQ(sentJson(), R"({"proceed":{"userName":"alice","passwd":"p4ss"}})");
    EXPECT_THAT(accounts.checks,
                ElementsAre("/Local/Default alice:p4ss", "/LDAPv3/corp alice:p4ss"));
}

TEST_F(ActionsTest, UnknownUserGoesOnToTheDirectory) {
    openWithCredentials("alice", "p4ss");
    childProcess.otherwise = "Unknown user alice\n";
    accounts.nodes["/Local/Default"].accepted = {{"alice", "p4ss"}};
    EXPECT_EQ(pressUpdateNow(), 0);
    EXPECT_EQ(sentJson(), R"({"proceed":{"userName":"alice","passwd":"p4ss"}})");
}

TEST_F(ActionsTest, WrongPasswordShakesTheFieldAndKeepsThePrompt) {
    openWithCredentials("alice", "wrong");
    EXPECT_EQ(pressUpdateNow(), -1);
    EXPECT_EQ(shakes(), 1U);
    EXPECT_EQ(log.lines().back(), "Failed to validate credentials alice");
    EXPECT_THAT(agent().requests, IsEmpty());
    EXPECT_EQ(agent().entries.size(), 1U);
}

TEST_F(ActionsTest, WrongPasswordForgetsTheRememberedUser) {
    openWithCredentials("bob", "right");
    childProcess.outputForUser["bob"] = "DISABLED";
    EXPECT_EQ(pressUpdateNow(), -1);
    controls.userNameTextField.value = "alice";
    EXPECT_EQ(pressUpdateNow(), -1);
    EXPECT_TRUE(controls.unsupportedInfoStackView.hidden);
    EXPECT_EQ(pressPostpone(), 0);
    EXPECT_THAT(log.lines(), Contains("User Clicked Postpone now - Disabled user --"));
    EXPECT_EQ(sentJson(), R"({"postponse":{}})");
}

TEST_F(ActionsTest, CountdownGoesOnAfterAFailedCheck) {
    openWithCredentials("alice", "wrong");
    EXPECT_EQ(pressUpdateNow(), -1);
    const auto before = controller->remainingTimeInSecond();
    runLoop.advance(std::chrono::seconds(1));
    EXPECT_EQ(controller->remainingTimeInSecond(), before - 1);
}

TEST_F(ActionsTest, EmptyFieldsGoToValidationAsTheyAre) {
    openWithCredentials("", "");
    EXPECT_EQ(pressUpdateNow(), -1);
    EXPECT_THAT(accounts.checks, ElementsAre("/Local/Default :"));
}

TEST_F(ActionsTest, PasswordIsNeverLogged) {
    openWithCredentials("alice", "s3cr3t-w0rd");
    accounts.nodes["/Search"].details = searchPathDetails({"/LDAPv3/corp"});
    accounts.nodes["/LDAPv3/corp"].accepted = {{"alice", "s3cr3t-w0rd"}};
    EXPECT_EQ(pressUpdateNow(), 0);
    EXPECT_THAT(log.lines(), Not(Contains(HasSubstr("s3cr3t-w0rd"))));
    EXPECT_THAT(agent().entries.back().second, Not(HasSubstr("s3cr3t-w0rd")));
}

TEST_F(ActionsTest, FieldsAreReadAfreshForTheCheckAndForTheAnswer) {
    openWithCredentials("alice", "p4ss");
    accounts.nodes["/Local/Default"].accepted = {{"alice", "p4ss"}};
    controls.userNameTextField.reads = 0;
    EXPECT_EQ(pressUpdateNow(), 0);
    EXPECT_EQ(controls.userNameTextField.reads, 3);
    EXPECT_EQ(controls.passwordTextFiled.reads, 2);
}

TEST_F(ActionsDeathTest, UpdateNowWithoutAUserNameFieldIsAFatalStop) {
    view.outlets.userNameTextField.connect(nullptr);
    // The set-up needs the field too; it gets as far as having read the input.
    struct Enough {};
    log.atLine = [](std::string_view line) {
        if (line.starts_with("Title : ")) {
            throw Enough();
        }
    };
    EXPECT_THROW(open("OSUpdateWithCred"), Enough);
    ASSERT_TRUE(controller->promptData().has_value());
    EXPECT_EXIT(controller->updateNow(), ::testing::KilledBySignal(SIGABRT), "");
}

TEST_F(ActionsDeathTest, UpdateNowWithoutAPasswordFieldIsAFatalStop) {
    view.outlets.passwordTextFiled.connect(nullptr);
    openWithCredentials("alice", "");
    EXPECT_EXIT(controller->updateNow(), ::testing::KilledBySignal(SIGABRT), "");
}

TEST_F(ActionsTest, UserWithoutATokenIsRefusedBeforeThePasswordFieldIsNeeded) {
    childProcess.outputForUser["bob"] = "DISABLED";
    view.outlets.passwordTextFiled.connect(nullptr);
    openWithCredentials("bob", "");
    EXPECT_EQ(pressUpdateNow(), -1);
    EXPECT_EQ(log.lines().back(), "Secure Token not enabled for bob");
}

TEST_F(ActionsTest, PostponeIsSentWithoutAttemptsLeftToo) {
    open("OSUpdateWithCred", "true", "15", "true", "0");
    EXPECT_EQ(pressPostpone(), 0);
    EXPECT_EQ(sentJson(), R"({"postponse":{}})");
}

TEST_F(ActionsTest, FieldIsEmptiedOnceItsPasswordIsTaken) {
    openWithCredentials("alice", "p4ss");
    accounts.nodes["/Local/Default"].accepted = {{"alice", "p4ss"}};
    EXPECT_EQ(pressUpdateNow(), 0);
    EXPECT_EQ(controls.passwordTextFiled.value, "");
}

TEST_F(ActionsTest, AbsentServiceStillEndsWithStatus0) {
    replyLimit = std::chrono::milliseconds(100);
    open();
    agent().service = AgentRecording::Service::absent;
    const auto begin = std::chrono::steady_clock::now();
    EXPECT_EQ(pressPostpone(), 0);
    EXPECT_GE(std::chrono::steady_clock::now() - begin, replyLimit);
}

}  // namespace
}  // namespace velunor::testing
