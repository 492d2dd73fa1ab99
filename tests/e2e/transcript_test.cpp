// Every line that a whole prompt writes to the system log, in its order. Only what differs from
// run to run is replaced: time stamps, the process number, directories and the user's name.
// To see a transcript anew after an intended change, read what a failing test prints.

#include <regex>

#include "tests/e2e/support/prompt_test.h"

namespace velunor::e2e {
namespace {

std::string replaced(std::string text, const std::string& from, const std::string& to) {
    for (std::size_t at = text.find(from); at != std::string::npos;
         at = text.find(from, at + to.size())) {
        text.replace(at, from.size(), to);
    }
    return text;
}

class Transcript : public PromptTest {
  protected:
    [[nodiscard]] std::string normalized() {
        std::string log = systemLog();
        const std::string program = PROMPT_PROGRAM;
        log = replaced(log, program, "PROGRAM");
        log = replaced(log, directory().string(), "DIRECTORY");
        log = replaced(log, "VelunorOSUpdate[" + std::to_string(process().id()) + "]",
                       "VelunorOSUpdate[PID]");
        log = std::regex_replace(
            log, std::regex(R"(\d{4}-\d{2}-\d{2} \d{2}:\d{2}:\d{2}(\.\d{3}| \+0000))"), "TIME");
        // Somebody may sit at the console of the machine that runs the test, or nobody.
        const std::string prefix = R"(TIME VelunorOSUpdate\[PID\] )";
        return std::regex_replace(
            log,
            std::regex(prefix + "(No Console User at the moment\n|Command To Be Executed .*\n" +
                       prefix + "Output .*\n)"),
            "TIME VelunorOSUpdate[PID] CONSOLE USER\n");
    }

    void expectGolden(const std::string& name) {
        const std::string expected =
            readFile(std::filesystem::path(GOLDEN_DIRECTORY) / (name + ".txt"));
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
}  // namespace velunor::e2e
