// The launcher: serves, shows a prompt, and turns its answer into output and a status.

#include <sstream>

#include "tests/support/prompt/prompt_test.h"

namespace velunor::testing {
namespace {

constexpr int postponedStatus = 10;

class Launcher : public PromptTest {
  protected:
    void launch(const std::vector<std::string>& arguments) {
        std::vector<std::string> command{LAUNCHER_PROGRAM, "prompt", "--"};
        command.insert(command.end(), arguments.begin(), arguments.end());
        startProgram(command);
    }

    // The prompt that the launcher started.
    [[nodiscard]] pid_t promptProcess() {
        const std::string task = std::to_string(process().id());
        pid_t child = 0;
        static_cast<void>(eventually([&] {
            std::istringstream(readFile("/proc/" + task + "/task/" + task + "/children")) >> child;
            return child != 0 || !process().isRunning();
        }));
        return child;
    }
};

TEST_F(Launcher, PrintsProceedAndEndsWithZero) {
    launch(patientPrompt());
    ASSERT_TRUE(waitForWindow(promptProcess())) << systemLog();
    ASSERT_TRUE(clickButton("Go ahead"));
    EXPECT_EQ(process().wait(), (Ending{0, 0})) << systemLog();
    EXPECT_EQ(output(), "{\"proceed\":{}}\n");
}

TEST_F(Launcher, PrintsPostponementAndEndsWithTen) {
    launch(patientPrompt());
    ASSERT_TRUE(waitForWindow(promptProcess())) << systemLog();
    ASSERT_TRUE(clickButton("Later"));
    EXPECT_EQ(process().wait(), (Ending{postponedStatus, 0})) << systemLog();
    EXPECT_EQ(output(), "{\"postponse\":{}}\n");
}

}  // namespace
}  // namespace velunor::testing
