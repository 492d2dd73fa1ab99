// The window while a check holds it up.

#include "tests/e2e/credentials/credentials_test.h"

namespace velunor::testing {
namespace {

class Checking : public CredentialsTest {};

TEST_F(Checking, ClicksDuringACheckAreNoFurtherAttempts) {
    answerTokensWith("sleep 2; echo ENABLED");
    startService();
    startPrompt();
    typePassword("wrong" + password);
    const auto window = waitForWindow();
    const auto button = waitForControl("push button", "Go ahead");
    ASSERT_TRUE(window && button);
    for (int click = 0; click < 3; ++click) {
        display().screen().click(*window, button->extents);
    }
    ASSERT_TRUE(waitForLog("Failed to validate credentials ada\n")) << systemLog();
    // The window answers again only when it has dealt with the other clicks.
    clickToTheEnd("Later");
    const std::string log = systemLog();
    EXPECT_EQ(log.find("Update Now Clicked"), log.rfind("Update Now Clicked")) << log;
}

TEST_F(Checking, ShowsThatItChecksWhileItDoes) {
    // Colours of the button that checks, and of the one that waits below the pointer.
    constexpr unsigned long busy = 0x525d73;
    constexpr unsigned long ready = 0x194fb3;
    constexpr std::size_t plate = 1500;
    const std::filesystem::path hold = directory() / "hold";
    answerTokensWith("while [ -e '" + hold.string() + "' ]; do sleep 0.05; done; echo ENABLED");
    startService();
    startPrompt();
    typePassword("wrong" + password);
    const auto window = waitForWindow();
    ASSERT_TRUE(window);
    Screen& screen = display().screen();
    const std::vector<unsigned long> pointer = screen.pointerPicture();
    ASSERT_FALSE(pointer.empty());
    const std::size_t before = screen.pixelsOfColour(*window, busy);
    writeFile(hold, "");
    ASSERT_TRUE(clickButton("Go ahead"));
    ASSERT_TRUE(waitForLog("Update Now Clicked\n")) << systemLog();

    EXPECT_TRUE(eventually([&] { return screen.pixelsOfColour(*window, busy) > before + plate; }));
    EXPECT_TRUE(eventually([&] { return screen.pointerPicture() != pointer; }));
    EXPECT_FALSE(logged("Failed to validate credentials"));

    std::filesystem::remove(hold);
    ASSERT_TRUE(waitForLog("Failed to validate credentials ada\n")) << systemLog();
    EXPECT_TRUE(eventually([&] { return screen.pixelsOfColour(*window, ready) > plate; }));
    EXPECT_LT(screen.pixelsOfColour(*window, busy), before + plate / 2);
}

}  // namespace
}  // namespace velunor::testing
