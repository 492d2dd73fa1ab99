// The examples for the makers of agents, with the real prompt.

#include <sstream>

#include "tests/support/prompt/prompt_test.h"

namespace velunor::testing {
namespace {

constexpr int postponedStatus = 10;

/// The process of this name among `ancestor` and its descendants, or 0.
pid_t descendantNamed(const std::string& name, pid_t ancestor) {
    const std::string process = std::to_string(ancestor);
    if (readFile("/proc/" + process + "/comm") == name + "\n") {
        return ancestor;
    }
    std::istringstream children(readFile("/proc/" + process + "/task/" + process + "/children"));
    for (pid_t child = 0; children >> child;) {
        if (const pid_t found = descendantNamed(name, child); found != 0) {
            return found;
        }
    }
    return 0;
}

struct ExampleCase {
    std::string name;
    std::vector<std::string> command;
};

void PrintTo(const ExampleCase& value, std::ostream* out) {
    *out << value.name;
}

class ExampleAgent : public PromptTest, public ::testing::WithParamInterface<ExampleCase> {
  protected:
    /// Runs the example and presses this button of its prompt.
    void answerBy(const std::string& button) {
        std::vector<std::string> command = GetParam().command;
        command.insert(command.end(), {"--bin", PROGRAMS_DIRECTORY, "Debian 12.9", "15"});
        startProgram(command);
        pid_t prompt = 0;
        ASSERT_TRUE(eventually([&] {
            prompt = descendantNamed("VelunorOSUpdate", process().id());
            return prompt != 0 || !process().isRunning();
        }));
        ASSERT_TRUE(waitForWindow(prompt)) << systemLog();
        ASSERT_TRUE(clickButton(button));
    }
};

TEST_P(ExampleAgent, HearsThatTheUpdateMayGoOn) {
    answerBy("Go ahead");
    EXPECT_EQ(process().wait(), (Ending{0, 0})) << systemLog();
    EXPECT_EQ(output(), "proceed\n");
    EXPECT_NE(systemLog().find("Reply Received OK"), std::string::npos) << systemLog();
}

TEST_P(ExampleAgent, HearsThatTheUpdateHasToWait) {
    answerBy("Later");
    EXPECT_EQ(process().wait(), (Ending{postponedStatus, 0})) << systemLog();
    EXPECT_EQ(output(), "postpone\n");
}

TEST_P(ExampleAgent, EndsWithOneWhenThePromptCannotBeShown) {
    std::filesystem::remove(directory() / "base/i18n/application_en.properties");
    std::vector<std::string> command = GetParam().command;
    command.insert(command.end(), {"--bin", PROGRAMS_DIRECTORY, "Debian 12.9", "15"});
    startProgram(command);
    EXPECT_EQ(process().wait(), (Ending{1, 0})) << systemLog();
    EXPECT_EQ(output(), "");
    EXPECT_NE(systemLog().find("there was no answer\n"), std::string::npos) << systemLog();
}

INSTANTIATE_TEST_SUITE_P(Languages, ExampleAgent,
                         ::testing::Values(ExampleCase{"Python",
                                                       {EXAMPLES_DIRECTORY "/agent/agent.py",
                                                        "--interface", INTERFACE_FILE}},
                                           ExampleCase{"Shell",
                                                       {EXAMPLES_DIRECTORY "/agent/agent.sh"}}),
                         [](const auto& tested) { return tested.param.name; });

}  // namespace
}  // namespace velunor::testing
