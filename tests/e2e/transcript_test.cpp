// Every line that a whole prompt writes to the system log, in its order. Only what differs from
// run to run is replaced: time stamps, the process number, directories and the user's name.
// To see a transcript anew after an intended change, read what a failing test prints.

#include "tests/support/prompt/transcript.h"

#include <regex>

#include "tests/support/prompt/prompt_test.h"

namespace velunor::testing {
namespace {

class Transcript : public PromptTest {
  protected:
    [[nodiscard]] std::string normalized() {
        const std::string log = normalizedTranscript(
            replaced(systemLog(), PROMPT_PROGRAM, "PROGRAM"), directory(), process().id());
        // Somebody may sit at the console of the machine that runs the test, or nobody.
        const std::string prefix = R"(TIME VelunorOSUpdate\[PID\] )";
        return std::regex_replace(
            log,
            std::regex(prefix + "(No Console User at the moment\n|Command To Be Executed .*\n" +
                       prefix + "Output .*\n)"),
            "TIME VelunorOSUpdate[PID] CONSOLE USER\n");
    }

    void expectGolden(const std::string& name) {
        const std::string expected = goldenTranscript(name);
        EXPECT_FALSE(expected.empty()) << "no transcript " << name;
        EXPECT_EQ(normalized(), expected);
    }

    void runToTimeOut(const std::string& kind, const std::string& proceed) {
        startService();
        start({kind, "Debian 12.9", proceed, "0", "false", "2"});
        ASSERT_EQ(process().wait(), (Ending{0, 0})) << systemLog();
    }

    // The attention request is in the log before the click, so that its place is always the same.
    void runToClick(const std::string& kind, const std::string& button) {
        startService();
        start({kind, "Debian 12.9", "false", "15", "false", "2"});
        ASSERT_TRUE(waitForWindow()) << systemLog();
        ASSERT_TRUE(waitForLog("Dock bounce (critical) triggered at ")) << systemLog();
        ASSERT_TRUE(clickButton(button)) << systemLog();
        ASSERT_EQ(process().wait(), (Ending{0, 0})) << systemLog();
    }
};

TEST_F(Transcript, TimeOutWithoutCredentials) {
    runToTimeOut("OSUpdate", "true");
    expectGolden("time_out_without_credentials");
}

TEST_F(Transcript, TimeOutWithCredentials) {
    runToTimeOut("OSUpdateWithCred", "true");
    expectGolden("time_out_with_credentials");
}

TEST_F(Transcript, PostponeWithoutCredentials) {
    runToClick("OSUpdate", "Later");
    expectGolden("postpone_without_credentials");
}

TEST_F(Transcript, PostponeWithCredentials) {
    runToClick("OSUpdateWithCred", "Later");
    expectGolden("postpone_with_credentials");
}

TEST_F(Transcript, UpdateNowWithoutCredentials) {
    runToClick("OSUpdate", "Go ahead");
    expectGolden("update_now_without_credentials");
}

}  // namespace
}  // namespace velunor::testing
