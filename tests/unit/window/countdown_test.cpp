#include "tests/unit/window/prompt_fixture.h"

namespace velunor::testing {
namespace {

using ::testing::ElementsAre;
using namespace std::chrono_literals;

class CountdownTest : public PromptFixture {
  protected:
    /// Lets time run until the process ends; the status, or -1 when it never does.
    int runOut(std::chrono::seconds most) {
        return exitStatusOf([&] { runLoop.advance(most); });
    }
    [[nodiscard]] static std::string endingEntry() { return agent().entries.back().second; }
};

TEST_F(CountdownTest, SixtyOneSecondsShowMinutesAndSecondsWithoutLeadingZeros) {
    open("OSUpdate", "false", "2");
    controls.timerInfoLabel.history.clear();
    runLoop.advance(61s);
    const auto& shown = controls.timerInfoLabel.history;
    ASSERT_EQ(shown.size(), 61U);
    EXPECT_EQ(shown[58], "Postpone in 1:1.");
    EXPECT_EQ(shown[59], "Postpone in 1:0.");
    EXPECT_EQ(shown[60], "Postpone in 0:59.");
}

TEST_F(CountdownTest, LongCountdownHasNoHours) {
    open("OSUpdate", "false", "120");
    EXPECT_EQ(controls.timerInfoLabel.stringValue(), "Postpone in 120:0.");
}

TEST_F(CountdownTest, FiguresAreStyledRuns) {
    open("OSUpdate", "false", "9");
    const TextAttributes bold{FontWeight::bold, 17.0, TextColor::standard};
    EXPECT_THAT(controls.timerInfoLabel.styled,
                ElementsAre(TextRun{"Postpone in ", std::nullopt, 0}, TextRun{"9", bold, 1},
                            TextRun{":", std::nullopt, 0}, TextRun{"0", bold, 1},
                            TextRun{".", std::nullopt, 0}));
}

TEST_F(CountdownTest, ListenersHearTheTimeLeftSixTimes) {
    open("OSUpdate", "false", "15");
    runOut(15min);
    EXPECT_THAT(controls.timerInfoLabel.spoken,
                ElementsAre("Postpone in 10:0.", "Postpone in 5:0.", "Postpone in 2:0.",
                            "Postpone in 1:0.", "Postpone in 0:30.", "Postpone in 0:10."));
}

TEST_F(CountdownTest, StartIsLoggedWithThePlainText) {
    open("OSUpdate", "false", "1");
    EXPECT_THAT(log.lines(), ::testing::Contains("Starting with Postpone in 1:0."));
}

TEST_F(CountdownTest, LastSecondIsNotShownButDecides) {
    open("OSUpdate", "false", "1");
    controls.timerInfoLabel.history.clear();
    EXPECT_EQ(runOut(60s), 0);
    EXPECT_EQ(controls.timerInfoLabel.history.size(), 59U);
    EXPECT_EQ(controls.timerInfoLabel.history.back(), "Postpone in 0:1.");
}

TEST_F(CountdownTest, ZeroMinutesDecideAtTheFirstTick) {
    open("OSUpdate", "true", "0");
    EXPECT_EQ(controls.timerInfoLabel.stringValue(), "Install in 0:0.");
    EXPECT_EQ(runOut(1s), 0);
}

TEST_F(CountdownTest, NegativeMinutesDecideAtTheFirstTick) {
    open("OSUpdate", "true", "-3");
    EXPECT_EQ(controls.timerInfoLabel.stringValue(), "Install in -3:0.");
    EXPECT_EQ(runOut(1s), 0);
}

TEST_F(CountdownTest, TimerIsInvalidatedBeforeTheDecision) {
    open("OSUpdate", "true", "0");
    EXPECT_EQ(runOut(1s), 0);
    EXPECT_FALSE(runLoop.timers.front()->active);
}

TEST_F(CountdownTest, WithoutCredentialsProceedsWhereThatIsTheDefault) {
    open("OSUpdate", "true", "0");
    EXPECT_EQ(runOut(1s), 0);
    EXPECT_THAT(linesSinceOpening(),
                ElementsAre("Timer Fired", "Sending Data to as proceed with no credentials",
                            "Reply Received OK"));
    EXPECT_EQ(sentJson(), R"({"proceed":{}})");
    EXPECT_THAT(endingEntry(),
                ::testing::StartsWith("\t\tproceed - NA\t\tTime ran out - Proceeding\t\t"));
}

TEST_F(CountdownTest, WithoutCredentialsPostponesOtherwise) {
    open("OSUpdate", "false", "0");
    EXPECT_EQ(runOut(1s), 0);
    EXPECT_THAT(linesSinceOpening(),
                ElementsAre("Timer Fired", "Sending Data to as postpone with disabled user --",
                            "Reply Received OK"));
    EXPECT_EQ(sentJson(), R"({"postponse":{}})");
    EXPECT_THAT(endingEntry(),
                ::testing::StartsWith("\t\tpostpone - NA\t\tTime ran out - Postponing\t\t"));
}

TEST_F(CountdownTest, WithCredentialsPostponesEvenWhereProceedingIsTheDefault) {
    open("OSUpdateWithCred", "true", "0");
    EXPECT_EQ(runOut(1s), 0);
    EXPECT_EQ(sentJson(), R"({"postponse":{}})");
}

TEST_F(CountdownTest, WithCredentialsPostponesWhereThatIsTheDefault) {
    open("OSUpdateWithCred", "false", "0");
    EXPECT_EQ(runOut(1s), 0);
    EXPECT_EQ(sentJson(), R"({"postponse":{}})");
}

TEST_F(CountdownTest, TimeOutNamesTheUserWithoutASecureToken) {
    childProcess.otherwise = "DISABLED\n";
    open("OSUpdateWithCred", "true", "0");
    controls.userNameTextField.value = "bob";
    controls.userNameTextField.editingEnded();
    EXPECT_EQ(runOut(1s), 0);
    EXPECT_THAT(linesSinceOpening(),
                ::testing::Contains("Sending Data to as postpone with disabled user bob"));
    EXPECT_EQ(sentJson(), R"({"postponse":{"userName":"bob"}})");
}

TEST_F(CountdownTest, TimeOutNamesTheUserWhomUpdateNowFoundWithoutASecureToken) {
    childProcess.outputForUser["bob"] = "DISABLED\n";
    open("OSUpdateWithCred", "true", "1");
    controls.userNameTextField.value = "bob";
    EXPECT_EQ(exitStatusOf([this] { controller->updateNow(); }), -1);
    controls.userNameTextField.value = "carol";
    EXPECT_EQ(runOut(60s), 0);
    EXPECT_THAT(linesSinceOpening(),
                ::testing::Contains("Sending Data to as postpone with disabled user bob"));
    EXPECT_EQ(sentJson(), R"({"postponse":{"userName":"bob"}})");
    EXPECT_THAT(endingEntry(),
                ::testing::StartsWith("\t\tpostpone - bob\t\tTime ran out - Postponing\t\t"));
}

TEST_F(CountdownTest, TimeOutWithoutCredentialsNamesTheConsoleUserWithoutASecureToken) {
    childProcess.otherwise = "DISABLED\n";
    consoleUsers.identifier = 1000;
    consoleUsers.entry = PasswordEntry{"dora"};
    open("OSUpdate", "false", "0");
    EXPECT_EQ(runOut(1s), 0);
    EXPECT_EQ(sentJson(), R"({"postponse":{"userName":"dora"}})");
}

TEST_F(CountdownTest, AbsentInputPostponesForTheRememberedUser) {
    childProcess.otherwise = "DISABLED\n";
    makeController({});
    controls.userNameTextField.value = "bob";
    controller->controlTextDidEndEditing();
    EXPECT_EQ(exitStatusOf([&] { controller->timerFired(); }), 0);
    EXPECT_EQ(sentJson(), R"({"postponse":{"userName":"bob"}})");
    EXPECT_THAT(
        endingEntry(),
        ::testing::StartsWith("\t\tpostpone - bob\t\tTime ran out - Postponing due to Issue\t\t"));
}

TEST_F(CountdownTest, TypedTextsNeverReachATimedOutAnswer) {
    open("OSUpdateWithCred", "true", "0");
    controls.userNameTextField.value = "carol";
    controls.passwordTextFiled.value = "typed";
    EXPECT_EQ(runOut(1s), 0);
    EXPECT_EQ(sentJson(), R"({"postponse":{}})");
}

TEST_F(CountdownTest, NoAttemptsLeftStillPostpones) {
    open("OSUpdate", "false", "0", "false", "0");
    EXPECT_EQ(runOut(1s), 0);
    EXPECT_EQ(sentJson(), R"({"postponse":{}})");
}

TEST_F(CountdownTest, AbsentInputPostponesDueToAnIssue) {
    makeController({});
    EXPECT_EQ(exitStatusOf([&] { controller->timerFired(); }), 0);
    EXPECT_THAT(log.lines(),
                ElementsAre("Timer Fired", "Unable to get Prompt Data", "Reply Received OK"));
    EXPECT_EQ(sentJson(), R"({"postponse":{}})");
    EXPECT_THAT(
        endingEntry(),
        ::testing::StartsWith("\t\tpostpone - NA\t\tTime ran out - Postponing due to Issue\t\t"));
}

}  // namespace
}  // namespace velunor::testing
