// Which bus the launcher and the prompt that it starts meet on, for root and for an ordinary user.

#include <gmock/gmock.h>

#include <cstdlib>

#include "platform/posix/process.h"
#include "tests/linux/agent/launcher_fixture.h"
#include "tests/support/forked_copy.h"

namespace velunor::testing {
namespace {

using ::testing::HasSubstr;
using ::testing::StartsWith;

constexpr unsigned root = 0;
constexpr unsigned ordinaryUser = 4003;

class AgentBus : public AgentLauncher {
  protected:
    AgentBus() { startBus(); }

    /// What the launcher writes for this user, with its status in front. Of the two buses there is
    /// the one that `variable` names the address of.
    [[nodiscard]] std::string promptOf(unsigned user, const char* variable,
                                       const std::string& mode) const {
        const auto outcome = inChild([&] {
            enterPrivateNamespace(user);
            for (const char* name : {"DBUS_SYSTEM_BUS_ADDRESS", "DBUS_SESSION_BUS_ADDRESS"}) {
                setenv(name, "unix:path=/absent", 1);
            }
            setenv(variable, PrivateBus::addressIn(directory()).c_str(), 1);
            const std::vector<std::string> arguments{
                "prompt", "--program", FAKE_PROMPT_PROGRAM, "--", mode, R"({"proceed":{}})", "", "",
                "",       ""};
            const auto result = LinuxChildProcess().run(LAUNCHER_PROGRAM, arguments);
            return std::to_string(result.terminationStatus) + " " + result.output;
        });
        return outcome.text;
    }

    /// Writes settings that name no bus.
    void writeSettingsWithoutABus() const {
        const std::string text = readFile(settingsFile());
        writeFile(settingsFile(), text.substr(0, text.find("[service]")));
    }
};

TEST_F(AgentBus, OrdinaryUserGetsTheAnswerOverTheSessionBusOfTheirOwn) {
    writeSettingsWithoutABus();
    const std::string text = promptOf(ordinaryUser, "DBUS_SESSION_BUS_ADDRESS", "answer");
    EXPECT_THAT(text, StartsWith("0 ostrel-agent: using the session bus\n"));
    EXPECT_THAT(text, HasSubstr("{\"proceed\":{}}\n"));
}

TEST_F(AgentBus, RootUsesTheSystemBus) {
    writeSettingsWithoutABus();
    const std::string text = promptOf(root, "DBUS_SYSTEM_BUS_ADDRESS", "silent");
    EXPECT_THAT(text, StartsWith("4 ostrel-agent: using the system bus\n"));
}

TEST_F(AgentBus, BusOfTheSettingsIsUsedByEverybody) {
    writeSettings("system");
    EXPECT_THAT(promptOf(ordinaryUser, "DBUS_SYSTEM_BUS_ADDRESS", "silent"),
                StartsWith("4 ostrel-agent: using the system bus\n"));
    writeSettings("session");
    EXPECT_THAT(promptOf(root, "DBUS_SESSION_BUS_ADDRESS", "answer"),
                StartsWith("0 ostrel-agent: using the session bus\n"));
}

TEST_F(AgentBus, BusOfTheSettingsStandsAboveTheVariable) {
    writeSettings("session");
    setVariable("VELUNOR_AGENT_BUS", "system");
    EXPECT_EQ(startPrompt("answer", R"({"proceed":{}})").wait(), exited(AgentExit::proceed))
        << errors();
}

}  // namespace
}  // namespace velunor::testing
