#include "tests/unit/window/prompt_fixture.h"

namespace velunor::testing {
namespace {

using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::Not;
using ::testing::StartsWith;
using namespace std::chrono_literals;

class SetUpTest : public PromptFixture {};
using SetUpDeathTest = SetUpTest;

TEST_F(SetUpTest, OpeningWritesItsLinesInTheStatedOrder) {
    open("OSUpdateWithCred", "true", "15", "false", "2");
    EXPECT_THAT(
        log.lines(),
        ElementsAre(
            "Opened Application [\"/opt/prompt\", \"OSUpdateWithCred\", "
            "\"Debian 12.9\", \"true\", \"15\", \"false\", \"2\"]",
            "Log file created at " + globals.accessLogPath, "Permissions set to 0666",
            "Title : Title text", "Message : Message text", "Credentails Info : Credentials text",
            "Unspported Credentails Info : Not sufficient", "Postpone Button : Postpone caption",
            "Update Now Button : Update caption", "Username Change Button : Change user",
            "Product Name : Ostrel Agent", "Showing Timer Below Credentails",
            "Unshowing Timer Below OS Info", "No Console User at the moment",
            "Remaining Postpone Count: 2", "Starting with Install in 15:0.",
            "No rebrand file found", "AutoRebootMessages File not available"));
}

TEST_F(SetUpTest, StartingEntryIsWrittenBeforeTheTexts) {
    open();
    ASSERT_EQ(agent().entries.size(), 1U);
    EXPECT_EQ(agent().entries.front().first, globals.accessLogPath);
    EXPECT_THAT(agent().entries.front().second,
                HasSubstr("\t\tOSUpdate\t\talice\t\tWithout Credentials - false - Debian 12.9 - "
                          "15 mins"));
}

TEST_F(SetUpTest, TooFewArgumentsEndWithStatus1BeforeAnythingIsShown) {
    makeController({"X", "Y"});
    EXPECT_EQ(exitStatusOf([&] { controller->viewDidLoad(); }), 1);
    EXPECT_EQ(log.lines().back(), "Args are less");
    EXPECT_THAT(agent().entries, IsEmpty());
    EXPECT_FALSE(controller->promptData().has_value());
}

TEST_F(SetUpTest, StateBeforeLoadingIsTheStatedOne) {
    makeController({});
    EXPECT_EQ(controller->remainingTimeInSecond(), 900);
    EXPECT_EQ(controller->timerInfoMessage(), "");
    EXPECT_FALSE(controller->promptData().has_value());
    EXPECT_FALSE(controller->lastSecureTokenDisabledUser().has_value());
}

TEST_F(SetUpTest, FifteenMinutesAreNineHundredSeconds) {
    open("OSUpdate", "true", "15");
    EXPECT_EQ(controller->remainingTimeInSecond(), 900);
}

TEST_F(SetUpTest, ZeroMinutesAreZeroSeconds) {
    open("OSUpdate", "true", "0");
    EXPECT_EQ(controller->remainingTimeInSecond(), 0);
}

TEST_F(SetUpDeathTest, TimerThatOverflowsSecondsIsAFatalStop) {
    EXPECT_EXIT(open("OSUpdate", "true", "9223372036854775807"), ::testing::KilledBySignal(SIGABRT),
                "");
}

TEST_F(SetUpTest, LongestTimersThatSecondsCanHoldAreTaken) {
    open("OSUpdate", "true", "153722867280912930");
    EXPECT_EQ(controller->remainingTimeInSecond(), 9'223'372'036'854'775'800);
    open("OSUpdate", "true", "-153722867280912930");
    EXPECT_EQ(controller->remainingTimeInSecond(), -9'223'372'036'854'775'800);
}

TEST_F(SetUpDeathTest, TimerOneMinuteBeyondWhatSecondsCanHoldIsAFatalStop) {
    EXPECT_EXIT(open("OSUpdate", "true", "153722867280912931"), ::testing::KilledBySignal(SIGABRT),
                "");
    EXPECT_EXIT(open("OSUpdate", "true", "-153722867280912931"), ::testing::KilledBySignal(SIGABRT),
                "");
}

TEST_F(SetUpTest, CountOfZeroHidesTheAttemptsLabelAndLogsNoCount) {
    open("OSUpdate", "true", "15", "false", "0");
    EXPECT_TRUE(controls.postponeAttemptsRemainingLabel.hidden);
    EXPECT_FALSE(controls.postponeButton.hidden);
    EXPECT_THAT(log.lines(), Not(Contains(StartsWith("Remaining Postpone Count"))));
}

TEST_F(SetUpTest, NegativeCountHidesTheAttemptsLabel) {
    open("OSUpdate", "true", "15", "false", "-5");
    EXPECT_TRUE(controls.postponeAttemptsRemainingLabel.hidden);
    EXPECT_THAT(log.lines(), Not(Contains(StartsWith("Remaining Postpone Count"))));
}

TEST_F(SetUpTest, CountOfOneShowsTheFallbackTextWhereTheStoreHasNone) {
    agent().texts.erase("tarn.agent.msghand.remaining_attempts");
    globals.i18nDefault.loadI18NPropertyFile();
    open("OSUpdate", "true", "15", "false", "1");
    EXPECT_EQ(controls.postponeAttemptsRemainingLabel.stringValue(), "1 attempt(s) remaining");
    EXPECT_FALSE(controls.postponeAttemptsRemainingLabel.hidden);
    EXPECT_THAT(log.lines(), Contains("Remaining Postpone Count: 1"));
}

TEST_F(SetUpTest, CountShowsTheLocalisedText) {
    open("OSUpdate", "true", "15", "false", "12");
    EXPECT_EQ(controls.postponeAttemptsRemainingLabel.stringValue(), "12 tries left");
}

TEST_F(SetUpTest, DisabledPostponeHidesTheButtonWhateverTheCount) {
    open("OSUpdate", "true", "15", "true", "3");
    EXPECT_TRUE(controls.postponeButton.hidden);
    EXPECT_FALSE(controls.postponeAttemptsRemainingLabel.hidden);
}

TEST_F(SetUpTest, ProceedingByDefaultShowsTheInstallTextWithCredentialsToo) {
    open("OSUpdateWithCred", "true");
    EXPECT_EQ(controller->timerInfoMessage(), "Install in %s:%s.");
}

TEST_F(SetUpTest, PostponingByDefaultShowsThePostponeText) {
    open("OSUpdate", "false");
    EXPECT_EQ(controller->timerInfoMessage(), "Postpone in %s:%s.");
}

TEST_F(SetUpDeathTest, MissingAutomaticInstallTextIsAFatalStop) {
    agent().texts.erase("tarn.agent.msghand.automatic_install_text");
    globals.i18nDefault.loadI18NPropertyFile();
    EXPECT_EXIT(open("OSUpdate", "true"), ::testing::KilledBySignal(SIGABRT), "");
}

TEST_F(SetUpTest, CountdownTextThatIsNotChosenMayBeMissing) {
    agent().texts.erase("tarn.agent.msghand.automatic_install_text");
    globals.i18nDefault.loadI18NPropertyFile();
    open("OSUpdate", "false");
    EXPECT_EQ(controller->timerInfoMessage(), "Postpone in %s:%s.");
}

TEST_F(SetUpDeathTest, MissingAutomaticPostponeTextIsAFatalStop) {
    agent().texts.erase("tarn.agent.msghand.automatic_postpone_text");
    globals.i18nDefault.loadI18NPropertyFile();
    EXPECT_EXIT(open("OSUpdate", "false"), ::testing::KilledBySignal(SIGABRT), "");
}

TEST_F(SetUpTest, UpdateLineIsABulletTwoBlanksAndTheName) {
    open();
    EXPECT_EQ(controls.updateDescription.stringValue(), "\u2022  Debian 12.9");
}

TEST_F(SetUpTest, EmptyUpdateNameLeavesTheBulletAndTwoBlanks) {
    makeController({"OSUpdate", "", "true", "15", "true", "0"});
    controller->viewDidLoad();
    EXPECT_EQ(controls.updateDescription.stringValue(), "\u2022  ");
}

TEST_F(SetUpTest, ProductNameIsLoggedAsTheLabelShowsIt) {
    controls.productNameLabel.shownInstead = "trimmed";
    open();
    EXPECT_THAT(log.lines(), Contains("Product Name : trimmed"));
}

TEST_F(SetUpTest, GearDiscIsDarkAndRound) {
    open();
    EXPECT_TRUE(controls.updateGearBackground.wantsLayer);
    const PlainLayer& layer = controls.updateGearBackground.plainLayer;
    EXPECT_THAT(layer.colors, ElementsAre(Color{234.0 / 255, 240.0 / 255, 252.0 / 255, 1},
                                          Color{7.0 / 255, 18.0 / 255, 41.0 / 255, 1}));
    EXPECT_EQ(layer.cornerRadius, 28);
    EXPECT_THAT(layer.animations, IsEmpty());
}

TEST_F(SetUpTest, GearWithoutALayerIsLeftAlone) {
    controls.updateGearBackground.hasLayer = false;
    open();
    EXPECT_THAT(controls.updateGearBackground.plainLayer.colors, IsEmpty());
}

TEST_F(SetUpTest, UpdateButtonKeepsItsWidthPlusTen) {
    open();
    EXPECT_FALSE(controls.updateNowButton.translates);
    EXPECT_EQ(controls.updateNowButton.width, 122);
}

TEST_F(SetUpTest, UpdateButtonIsMeasuredWithItsLocalisedCaption) {
    controls.updateNowButton.widthOfALetter = 7;
    open();
    EXPECT_EQ(controls.updateNowButton.width, 7 * std::string_view("Update caption").size() + 10);
}

TEST_F(SetUpTest, EndOfEditingOfTheUserNameReachesTheController) {
    open();
    ASSERT_TRUE(controls.userNameTextField.editingEnded);
    controls.userNameTextField.editingEnded();
    ASSERT_EQ(childProcess.runs.size(), 1U);
}

TEST_F(SetUpTest, WindowGoesThirtyPointsFromRightAndBottom) {
    makeController({});
    controller->viewDidAppear();
    EXPECT_EQ(controls.window.rect.origin, (Point{1010, 30}));
    EXPECT_EQ(controls.window.rect.size, (Size{400, 300}));
}

TEST_F(SetUpTest, UsableAreaWithAnOriginCounts) {
    screens.visible = Rect{{100, 40}, {1000, 700}};
    makeController({});
    controller->moveWindowToBottomRight();
    EXPECT_EQ(controls.window.rect.origin, (Point{670, 70}));
}

TEST_F(SetUpTest, WithoutAWindowNothingIsMoved) {
    view.window = nullptr;
    makeController({});
    controller->viewDidAppear();
    EXPECT_EQ(controls.window.moves, 0);
}

TEST_F(SetUpTest, WithoutAScreenNothingIsMoved) {
    screens.visible.reset();
    makeController({});
    controller->viewDidAppear();
    EXPECT_EQ(controls.window.moves, 0);
}

TEST_F(SetUpTest, AttentionIsAskedForOnceAfterFiveSeconds) {
    open();
    runLoop.advance(4999ms);
    EXPECT_EQ(application.attentionRequests, 0);
    runLoop.advance(1ms);
    EXPECT_EQ(application.attentionRequests, 1);
    EXPECT_EQ(log.lines().back(), "Dock bounce (critical) triggered at 2024-05-02 12:03:11 +0000");
    runLoop.advance(60s);
    EXPECT_EQ(application.attentionRequests, 1);
}

TEST_F(SetUpDeathTest, AttentionWithoutAnApplicationIsAFatalStop) {
    hasApplication = false;
    open();
    EXPECT_EXIT(runLoop.advance(5s), ::testing::KilledBySignal(SIGABRT), "");
}

TEST_F(SetUpTest, ShakeMovesTheFieldTenPointsBothWays) {
    ViewController::shake(controls.passwordTextFiled);
    ASSERT_EQ(controls.passwordTextFiled.plainLayer.animations.size(), 1U);
    const KeyFrameAnimation& shake = controls.passwordTextFiled.plainLayer.animations.front();
    EXPECT_EQ(shake.keyPath, "transform");
    EXPECT_THAT(shake.translationsX, ElementsAre(-10, 10));
    EXPECT_TRUE(shake.autoreverses);
    EXPECT_EQ(shake.repeatCount, 2);
    EXPECT_EQ(shake.duration, 70ms);
}

TEST_F(SetUpTest, FieldWithoutALayerIsNotShaken) {
    controls.passwordTextFiled.hasLayer = false;
    ViewController::shake(controls.passwordTextFiled);
    EXPECT_THAT(controls.passwordTextFiled.plainLayer.animations, IsEmpty());
}

/// Each outlet that the set-up needs, by name.
class UnconnectedOutletTest : public PromptFixture,
                              public ::testing::WithParamInterface<const char*> {
  protected:
    struct Disconnector {
        std::string wanted;
        int found = 0;
        template <class Kind>
        void operator()(const char* name, WeakReference<Kind>& outlet) {
            if (name == wanted) {
                outlet.connect(nullptr);
                ++found;
            }
        }
    };
};
using UnconnectedOutletDeathTest = UnconnectedOutletTest;

TEST_P(UnconnectedOutletDeathTest, IsAFatalStop) {
    Disconnector disconnector{GetParam()};
    forEachOutlet(view.outlets, disconnector);
    ASSERT_EQ(disconnector.found, 1);
    EXPECT_EXIT(open(), ::testing::KilledBySignal(SIGABRT), "");
}

INSTANTIATE_TEST_SUITE_P(SetUp, UnconnectedOutletDeathTest,
                         ::testing::Values("productNameLabel", "titleLabel", "messageLabel",
                                           "updateDescription", "credentailsRequiredView",
                                           "credentailsInfoTextLabel", "userStackView",
                                           "usernameChangeButton", "userNameTextField",
                                           "unsupportedUserCredentailInfoTextLabel",
                                           "passwordToUserNameConstraint", "timerInfoLabel",
                                           "postponeAttemptsRemainingLabel", "postponeButton",
                                           "updateNowButton", "updateGearBackground"),
                         [](const auto& outlet) { return std::string(outlet.param); });

TEST(Outlets, HaveTheNamesThatTheFormGives) {
    Outlets outlets;
    std::vector<std::string> names;
    forEachOutlet(outlets, [&](const char* name, auto&) { names.emplace_back(name); });
    EXPECT_EQ(names.size(), static_cast<std::size_t>(outletCount));
    EXPECT_THAT(
        names, ElementsAre("productNameLabel", "osUpdateInfoView", "titleLabel", "messageLabel",
                           "updateDescription", "credentailsRequiredView",
                           "credentailsInfoTextLabel", "userStackView", "userIcon", "userNameLabel",
                           "usernameChangeButton", "userNameTextField",
                           "unsupportedUserCredentailsView", "unsupportedInfoStackView",
                           "passwordTextFiled", "unsupportedUserCredentailInfoTextLabel",
                           "passwordToUnspportedInfoConstraint", "passwordToUserNameConstraint",
                           "timerInfoLabel", "postponeAttemptsRemainingLabel", "postponeButton",
                           "updateNowButton", "updateGearBackground", "updateGearIcon", "appIcon"));
}

}  // namespace
}  // namespace velunor::testing
