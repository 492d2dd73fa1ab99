#include "tests/support/prompt/prompt_test.h"

namespace velunor::testing {
namespace {

class Typing : public PromptTest {
  protected:
    /// Lets `press` type the text into a field, as ./dev run does.
    void pressTypes(const std::string& text) {
        Environment environment = this->environment();
        environment["DISPLAY"] = display().name();
        environment["AT_SPI_BUS_ADDRESS"] = bus().accessibilityAddress();
        ChildProcess press(
            {.arguments = {"/bin/sh", "-c", R"(printf '%s\n' "$1" | "$0" --type text 'User name')",
                           PRESS_PROGRAM, text},
             .environment = environment,
             .errors = directory() / "press"});
        EXPECT_EQ(press.wait(), Ending{.status = 0}) << readFile(directory() / "press");
    }
};

TEST_F(Typing, ReachesTheFieldWithCharactersThatNoKeyOfTheKeyboardHas) {
    start({"OSUpdateWithCred", "Debian 12.9", "false", "15", "false", "2"});
    ASSERT_TRUE(waitForControl("text", "User name")) << systemLog();

    pressTypes("Zo\u00EB-\u00DF\u00E9\u00DF_\u20AC\u0416\u6F22");
    ASSERT_TRUE(clickButton("Go ahead"));
    EXPECT_TRUE(
        waitForLog("Failed to validate credentials "
                   "Zo\u00EB-\u00DF\u00E9\u00DF_\u20AC\u0416\u6F22\n"))
        << systemLog();
}

}  // namespace
}  // namespace velunor::testing
