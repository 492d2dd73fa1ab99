#include "credentials/credentials_panel.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <csignal>

#include "tests/unit/credentials/panel_fixture.h"

namespace velunor::testing {

namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::KilledBySignal;

using testing::PlainConstraint;

constexpr const char* belowCredentials = "TimerViewToCredentailsBottomConstraint";
constexpr const char* belowInfo = "TimerViewToOSInfoBottomConstraint";

/// Takes background work in and never runs it.
class IdleRunLoop : public RunLoop {
  public:
    void scheduleTimer(std::chrono::milliseconds /*interval*/, TimerKind /*kind*/,
                       std::function<void(Timer&)> /*block*/) override {
        ++otherRequests;
    }
    void performOnMainThread(std::function<void()> /*work*/) override { ++otherRequests; }
    void performInBackground(std::function<void()> /*work*/) override { ++pictureRequests; }

    int pictureRequests = 0;
    int otherRequests = 0;
};

class CredentialsPanelTest : public PanelFixture {
  protected:
    CredentialsPanel& panel() {
        if (!panel_) {
            panel_ = makePanel(runLoop, images);
        }
        return *panel_;
    }

    void expectNotice(bool shown) {
        EXPECT_EQ(unsupportedInfoStackView.hidden, !shown);
        EXPECT_EQ(passwordToUnspportedInfoConstraint.priority, shown ? 750 : 250);
        EXPECT_EQ(passwordToUserNameConstraint.priority, shown ? 250 : 750);
    }

    IdleRunLoop runLoop;

  private:
    std::unique_ptr<CredentialsPanel> panel_;
};

using CredentialsPanelDeathTest = CredentialsPanelTest;

TEST_F(CredentialsPanelTest, ShownPlacesTheTimerBelowIt) {
    PlainConstraint credentials(belowCredentials);
    PlainConstraint info(belowInfo);
    constraints = {&credentials, &info};
    credentailsRequiredView.hidden = true;
    panel().showCredentailsView(true);
    EXPECT_EQ(credentials.priority, 750);
    EXPECT_EQ(info.priority, 250);
    EXPECT_FALSE(credentailsRequiredView.hidden);
    EXPECT_THAT(log.lines(),
                ElementsAre("Showing Timer Below Credentails", "Unshowing Timer Below OS Info"));
}

TEST_F(CredentialsPanelTest, HiddenPlacesTheTimerBelowTheUpdateInformation) {
    PlainConstraint credentials(belowCredentials);
    PlainConstraint info(belowInfo);
    constraints = {&credentials, &info};
    panel().showCredentailsView(false);
    EXPECT_EQ(credentials.priority, 250);
    EXPECT_EQ(info.priority, 750);
    EXPECT_TRUE(credentailsRequiredView.hidden);
    EXPECT_THAT(log.lines(),
                ElementsAre("Unshowing Timer Below Credentails", "Showing Timer Below OS Info"));
}

TEST_F(CredentialsPanelTest, WalksTheConstraintsInTheirOrder) {
    PlainConstraint credentials(belowCredentials);
    PlainConstraint info(belowInfo);
    constraints = {&info, &credentials};
    panel().showCredentailsView(true);
    EXPECT_THAT(log.lines(),
                ElementsAre("Unshowing Timer Below OS Info", "Showing Timer Below Credentails"));
}

TEST_F(CredentialsPanelTest, ChangesBothConstraintsOfADuplicateIdentifier) {
    PlainConstraint first(belowCredentials);
    PlainConstraint second(belowCredentials);
    constraints = {&first, &second};
    panel().showCredentailsView(true);
    EXPECT_EQ(first.priority, 750);
    EXPECT_EQ(second.priority, 750);
    EXPECT_THAT(log.lines(),
                ElementsAre("Showing Timer Below Credentails", "Showing Timer Below Credentails"));
}

TEST_F(CredentialsPanelTest, LeavesConstraintsWithoutOrWithOtherIdentifiersAlone) {
    PlainConstraint unnamed;
    PlainConstraint otherCase("timerViewToCredentailsBottomConstraint");
    PlainConstraint longer("TimerViewToOSInfoBottomConstraint2");
    constraints = {&unnamed, &otherCase, &longer};
    panel().showCredentailsView(true);
    panel().showCredentailsView(false);
    EXPECT_EQ(unnamed.priority, std::nullopt);
    EXPECT_EQ(otherCase.priority, std::nullopt);
    EXPECT_EQ(longer.priority, std::nullopt);
    EXPECT_THAT(log.lines(), IsEmpty());
}

TEST_F(CredentialsPanelTest, IsShownAndHiddenWithoutAnyTimerConstraint) {
    panel().showCredentailsView(false);
    EXPECT_TRUE(credentailsRequiredView.hidden);
    panel().showCredentailsView(true);
    EXPECT_FALSE(credentailsRequiredView.hidden);
}

TEST_F(CredentialsPanelTest, NoticeShownMovesThePasswordFieldBelowIt) {
    panel().showUnspportedCredentailsAlert(true);
    expectNotice(true);
    EXPECT_THAT(log.lines(), IsEmpty());
}

TEST_F(CredentialsPanelTest, NoticeHiddenMovesThePasswordFieldBelowTheUserName) {
    unsupportedInfoStackView.hidden = false;
    panel().showUnspportedCredentailsAlert(false);
    expectNotice(false);
}

TEST_F(CredentialsPanelTest, NoticeWithoutAStackViewChangesNothing) {
    outlets.unsupportedInfoStackView.connect(nullptr);
    panel().showUnspportedCredentailsAlert(true);
    EXPECT_EQ(passwordToUnspportedInfoConstraint.priority, std::nullopt);
    EXPECT_EQ(passwordToUserNameConstraint.priority, std::nullopt);
}

TEST_F(CredentialsPanelTest, NoticeWithoutItsFirstConstraintChangesNothingFurther) {
    outlets.passwordToUnspportedInfoConstraint.connect(nullptr);
    panel().showUnspportedCredentailsAlert(true);
    EXPECT_FALSE(unsupportedInfoStackView.hidden);
    EXPECT_EQ(passwordToUserNameConstraint.priority, std::nullopt);
}

TEST_F(CredentialsPanelTest, WithoutAConsoleUserAsksForANameAndChecksNothing) {
    panel().setInitialUserData();
    EXPECT_TRUE(userStackView.hidden);
    EXPECT_FALSE(userNameTextField.hidden);
    EXPECT_EQ(userNameTextField.value, "");
    EXPECT_TRUE(unsupportedInfoStackView.hidden);
    EXPECT_THAT(childProcess.runs, IsEmpty());
    EXPECT_EQ(runLoop.pictureRequests, 0);
    EXPECT_THAT(log.lines(), ElementsAre("No Console User at the moment"));
}

TEST_F(CredentialsPanelTest, FillsLabelAndFieldWithTheConsoleUserAndKeepsTheRow) {
    logIn("ada");
    childProcess.answer.output = "ENABLED";
    panel().setInitialUserData();
    EXPECT_THAT(userNameLabel.history, ElementsAre("ada"));
    EXPECT_EQ(userNameTextField.value, "ada");
    EXPECT_FALSE(userStackView.hidden);
    EXPECT_TRUE(userNameTextField.hidden);
}

TEST_F(CredentialsPanelTest, QueuesThePictureWorkWithoutWaitingForIt) {
    logIn("ada", Size{64, 64});
    panel().setInitialUserData();
    EXPECT_EQ(runLoop.pictureRequests, 1);
    EXPECT_EQ(runLoop.otherRequests, 0);
    EXPECT_THAT(directory.calls, IsEmpty());
    EXPECT_EQ(userIcon.image, defaultPicture);
}

TEST_F(CredentialsPanelTest, ChecksTheConsoleUserWithTheConfiguredTool) {
    logIn("ada");
    panel().setInitialUserData();
    EXPECT_THAT(childProcess.runs, ElementsAre(ScriptedChildProcess::Command{
                                       "/usr/bin/env", {"/tool", "-secureTokenStatus", "ada"}}));
}

TEST_F(CredentialsPanelTest, ShowsTheNoticeAndRemembersAConsoleUserWithoutAToken) {
    logIn("ada");
    childProcess.answer.output = "DISABLED";
    panel().setInitialUserData();
    expectNotice(true);
    EXPECT_EQ(panel().lastSecureTokenDisabledUser(), "ada");
}

TEST_F(CredentialsPanelTest, HidesTheNoticeForAConsoleUserWithAToken) {
    logIn("ada");
    childProcess.answer.output = "ENABLED";
    panel().setSecureTokenDisabledUser("earlier");
    panel().setInitialUserData();
    expectNotice(false);
    EXPECT_EQ(panel().lastSecureTokenDisabledUser(), std::nullopt);
}

TEST_F(CredentialsPanelTest, HidesTheNoticeForAConsoleUserThatTheToolDoesNotKnow) {
    logIn("ada");
    childProcess.answer.output = "Unknown user ada";
    panel().setSecureTokenDisabledUser("earlier");
    panel().setInitialUserData();
    expectNotice(false);
    EXPECT_EQ(panel().lastSecureTokenDisabledUser(), std::nullopt);
}

/// A field that changes what it is given, as one that forbids blanks would.
class TrimmingField : public testing::PlainField {
  public:
    void setStringValue(std::string_view text) override {
        value.clear();
        for (const char character : text) {
            if (character != ' ') {
                value += character;
            }
        }
    }
};

TEST_F(CredentialsPanelTest, ChecksTheFieldsTextButRemembersTheConsoleUsersName) {
    TrimmingField field;
    outlets.userNameTextField.connect(&field);
    logIn("ada l");
    childProcess.answer.output = "DISABLED";
    panel().setInitialUserData();
    ASSERT_EQ(childProcess.runs.size(), 1U);
    EXPECT_EQ(childProcess.runs.front().arguments.back(), "adal");
    EXPECT_EQ(panel().lastSecureTokenDisabledUser(), "ada l");
}

TEST_F(CredentialsPanelTest, StaysHiddenForAnUpdateWithoutCredentialsThoughTheUserIsChecked) {
    logIn("ada");
    childProcess.answer.output = "DISABLED";
    panel().showCredentailsView(false);
    panel().showUnspportedCredentailsAlert(false);
    panel().setInitialUserData();
    EXPECT_TRUE(credentailsRequiredView.hidden);
    EXPECT_EQ(childProcess.runs.size(), 1U);
    EXPECT_EQ(panel().lastSecureTokenDisabledUser(), "ada");
}

TEST_F(CredentialsPanelTest, ChangingTheUserShowsTheFieldWithWhatItHoldsAndChecksNothing) {
    logIn("ada");
    childProcess.answer.output = "ENABLED";
    panel().setInitialUserData();
    childProcess.runs.clear();
    panel().changeUserName();
    EXPECT_TRUE(userStackView.hidden);
    EXPECT_FALSE(userNameTextField.hidden);
    EXPECT_EQ(userNameTextField.value, "ada");
    EXPECT_THAT(childProcess.runs, IsEmpty());
}

TEST_F(CredentialsPanelTest, StaysWithTheFieldOnceTheUserIsChanged) {
    panel().changeUserName();
    panel().changeUserName();
    panel().controlTextDidEndEditing();
    EXPECT_TRUE(userStackView.hidden);
    EXPECT_FALSE(userNameTextField.hidden);
}

TEST_F(CredentialsPanelTest, EndOfEditingShowsTheNoticeAndRemembersTheTypedUser) {
    userNameTextField.value = "grace";
    childProcess.answer.output = "DISABLED";
    panel().controlTextDidEndEditing();
    EXPECT_EQ(childProcess.runs.front().arguments.back(), "grace");
    expectNotice(true);
    EXPECT_EQ(panel().lastSecureTokenDisabledUser(), "grace");
}

TEST_F(CredentialsPanelTest, EndOfEditingHidesTheNoticeAndForgetsForAnEnabledUser) {
    panel().setSecureTokenDisabledUser("ada");
    userNameTextField.value = "grace";
    childProcess.answer.output = "ENABLED";
    panel().controlTextDidEndEditing();
    expectNotice(false);
    EXPECT_EQ(panel().lastSecureTokenDisabledUser(), std::nullopt);
}

TEST_F(CredentialsPanelTest, EndOfEditingHidesTheNoticeAndForgetsForAnUnknownUser) {
    panel().setSecureTokenDisabledUser("ada");
    userNameTextField.value = "nobody-here";
    childProcess.answer.output = "Unknown user nobody-here";
    panel().controlTextDidEndEditing();
    expectNotice(false);
    EXPECT_EQ(panel().lastSecureTokenDisabledUser(), std::nullopt);
}

TEST_F(CredentialsPanelTest, EndOfEditingOfAnyFieldChecksTheUserNameFieldAgain) {
    userNameTextField.value = "grace";
    panel().controlTextDidEndEditing();
    panel().controlTextDidEndEditing();
    EXPECT_EQ(childProcess.runs.size(), 2U);
    EXPECT_EQ(childProcess.runs[1].arguments.back(), "grace");
}

TEST_F(CredentialsPanelTest, EndOfEditingChecksAnEmptyNameToo) {
    childProcess.answer.output = "DISABLED";
    panel().controlTextDidEndEditing();
    EXPECT_EQ(childProcess.runs.front().arguments.back(), "");
    EXPECT_EQ(panel().lastSecureTokenDisabledUser(), "");
}

TEST_F(CredentialsPanelTest, AsksAboutAnyAccountWithoutTouchingTheNotice) {
    childProcess.answer.output = "DISABLED";
    EXPECT_EQ(panel().tokenStatus("grace"), SecureTokenStatus::disabled);
    EXPECT_EQ(childProcess.runs.front().arguments.back(), "grace");
    EXPECT_TRUE(unsupportedInfoStackView.hidden);
    EXPECT_EQ(panel().lastSecureTokenDisabledUser(), std::nullopt);
}

TEST_F(CredentialsPanelTest, KeepsTheNoticeAndTheRememberedUserInAgreement) {
    EXPECT_EQ(panel().lastSecureTokenDisabledUser(), std::nullopt);
    panel().setSecureTokenDisabledUser("grace");
    expectNotice(true);
    EXPECT_EQ(panel().lastSecureTokenDisabledUser(), "grace");
    panel().setSecureTokenDisabledUser(std::nullopt);
    expectNotice(false);
    EXPECT_EQ(panel().lastSecureTokenDisabledUser(), std::nullopt);
}

TEST_F(CredentialsPanelDeathTest, StopsWithoutThePanelsView) {
    outlets.credentailsRequiredView.connect(nullptr);
    EXPECT_EXIT(panel().showCredentailsView(true), KilledBySignal(SIGABRT), "^$");
}

TEST_F(CredentialsPanelDeathTest, StopsWithoutTheSecondConstraintOfTheNotice) {
    outlets.passwordToUserNameConstraint.connect(nullptr);
    EXPECT_EXIT(panel().showUnspportedCredentailsAlert(true), KilledBySignal(SIGABRT), "^$");
}

TEST_F(CredentialsPanelDeathTest, StopsWithoutTheAccountRow) {
    outlets.userStackView.connect(nullptr);
    EXPECT_EXIT(panel().changeUserName(), KilledBySignal(SIGABRT), "^$");
}

TEST_F(CredentialsPanelDeathTest, StopsWithoutTheUserNameLabel) {
    outlets.userNameLabel.connect(nullptr);
    logIn("ada");
    EXPECT_EXIT(panel().setInitialUserData(), KilledBySignal(SIGABRT), "^$");
}

TEST_F(CredentialsPanelDeathTest, StopsWithoutTheUserNameField) {
    outlets.userNameTextField.connect(nullptr);
    EXPECT_EXIT(panel().controlTextDidEndEditing(), KilledBySignal(SIGABRT), "^$");
    EXPECT_EXIT(panel().changeUserName(), KilledBySignal(SIGABRT), "^$");
}

}  // namespace

}  // namespace velunor::testing
