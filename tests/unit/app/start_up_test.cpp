#include "app/start_up.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/support/doubles/agent_recording.h"
#include "tests/support/doubles/fakes.h"
#include "tests/support/doubles/recording_log.h"

namespace velunor::testing {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

class StartUpTest : public ::testing::Test {
  protected:
    StartUpTest() { resetAgent(); }

    void fill() { fillGlobals(globals, processInfo, log, processExit); }

    Globals globals;
    FakeProcessInfo processInfo;
    RecordingLog log;
    ThrowingExit processExit;
};
using StartUpDeathTest = StartUpTest;

TEST_F(StartUpTest, LibraryIsCalledInTheFixedOrder) {
    processInfo.user = "jdoe";
    fill();
    EXPECT_THAT(agent().calls,
                ElementsAre("changeDirectoryTo /A", "initializeTarnGlobal", "initializeAgentParams",
                            "changeLogStream OSUpdateNotification_jdoe user", "productName",
                            "loadI18NPropertyFile"));
    EXPECT_THAT(log.lines(), IsEmpty());
}

TEST_F(StartUpTest, GlobalsHoldTheEnvironment) {
    agent().variables = {"/b", "/d", "/X/logs"};
    agent().productName = "Agent";
    fill();
    EXPECT_EQ(globals.bundlePath, "/A/B/Prompt.app");
    EXPECT_EQ(globals.secondParentPath, "/A");
    EXPECT_EQ(globals.name, "alice");
    EXPECT_EQ(globals.logName, "OSUpdateNotification_alice");
    EXPECT_EQ(globals.basePath, "/b");
    EXPECT_EQ(globals.dataPath, "/d");
    EXPECT_EQ(globals.logsPath, "/X/logs");
    EXPECT_EQ(globals.productName, "Agent");
    EXPECT_EQ(globals.accessLogPath, "/X/logs/UserLogs/rebootaccess.log");
    EXPECT_EQ(globals.i18nDefault.getValueForKeyString("tarn.agent.msghand.postpone"),
              "Postpone caption");
}

TEST_F(StartUpTest, LogDirectoryThatEndsInASlashGivesADoubledOne) {
    agent().variables.tarnagentLogPath = "/X/logs/";
    fill();
    EXPECT_EQ(globals.accessLogPath, "/X/logs//UserLogs/rebootaccess.log");
}

TEST_F(StartUpTest, EmptyTextsAreStoredAsTheyAre) {
    processInfo.user = "";
    processInfo.bundle = "";
    agent().variables = {};
    agent().productName = "";
    fill();
    EXPECT_EQ(globals.logName, "OSUpdateNotification_");
    EXPECT_EQ(globals.productName, "");
    EXPECT_EQ(globals.accessLogPath, "/UserLogs/rebootaccess.log");
}

TEST_F(StartUpTest, LocalisationThatDoesNotLoadEndsWithStatus1) {
    for (const int loadStatus : {1, -1, 77}) {
        resetAgent();
        RecordingLog own;
        agent().localisationStatus = loadStatus;
        int status = -1;
        try {
            fillGlobals(globals, processInfo, own, processExit);
        } catch (const ExitCalled& exit) {
            status = exit.status;
        }
        EXPECT_EQ(status, 1);
        EXPECT_THAT(own.lines(), ElementsAre("Loading Application Prop Failed"));
    }
}

TEST_F(StartUpDeathTest, LibraryWithoutGlobalVariablesIsAFatalStop) {
    agent().hasGlobals = false;
    EXPECT_EXIT(fill(), ::testing::KilledBySignal(SIGABRT), "^$");
}

TEST(SecondParentTest, DropsTheLastTwoComponents) {
    EXPECT_EQ(secondParentOf("/A/B/Prompt.app"), "/A");
    EXPECT_EQ(secondParentOf("/A/B/C/Prompt.app/"), "/A/B");
    EXPECT_EQ(secondParentOf("/A//B//Prompt.app"), "/A");
    EXPECT_EQ(secondParentOf("/A/B"), "/");
    EXPECT_EQ(secondParentOf("/A"), "/");
    EXPECT_EQ(secondParentOf("/"), "/");
    EXPECT_EQ(secondParentOf(""), "");
}

struct RecordingWindow : Window {
    [[nodiscard]] Rect frame() const override { return {}; }
    void setFrameOrigin(const Point& /*origin*/) override {}
    void setLevel(int value) override { level = value; }
    int level = normalWindowLevel;
};

struct WindowedApplication : Application {
    [[nodiscard]] std::vector<Window*> windows() override { return list; }
    void requestCriticalAttention() override {}
    void setApplicationIconImage(const ImagePointer& /*image*/) override {}
    std::vector<Window*> list;
};

struct RecordingActivity : ProcessActivity {
    Token beginUserInitiated(std::string_view reason) override {
        reasons.emplace_back(reason);
        return 7;
    }
    void end(Token token) override { ended.push_back(token); }
    std::vector<std::string> reasons;
    std::vector<Token> ended;
};

class AppDelegateTest : public ::testing::Test {
  protected:
    WindowedApplication application;
    RecordingActivity activity;
    AppDelegate delegate{application, activity};
};

TEST_F(AppDelegateTest, LaunchBeginsTheActivityAndRaisesTheFirstWindowOnly) {
    RecordingWindow first;
    RecordingWindow second;
    application.list = {&first, &second};
    delegate.applicationDidFinishLaunching();
    EXPECT_THAT(activity.reasons, ElementsAre("Timer Enabled"));
    EXPECT_EQ(first.level, 3);
    EXPECT_EQ(second.level, normalWindowLevel);
    EXPECT_THAT(activity.ended, IsEmpty());
}

TEST_F(AppDelegateTest, LaunchWithoutWindowsStillHoldsTheActivity) {
    delegate.applicationDidFinishLaunching();
    EXPECT_THAT(activity.reasons, ElementsAre("Timer Enabled"));
}

TEST_F(AppDelegateTest, TerminationEndsTheActivity) {
    delegate.applicationDidFinishLaunching();
    delegate.applicationWillTerminate();
    EXPECT_THAT(activity.ended, ElementsAre(7U));
}

TEST_F(AppDelegateTest, TerminationBeforeLaunchEndsNothing) {
    delegate.applicationWillTerminate();
    EXPECT_THAT(activity.ended, IsEmpty());
}

TEST_F(AppDelegateTest, SecureRestorableStateIsSupported) {
    EXPECT_TRUE(AppDelegate::applicationSupportsSecureRestorableState());
}

}  // namespace
}  // namespace velunor::testing
