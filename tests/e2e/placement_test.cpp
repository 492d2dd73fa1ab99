// Where the window comes to stand.

#include "tests/support/prompt/prompt_test.h"

namespace velunor::testing {
namespace {

constexpr int margin = 30;
constexpr int panelHeight = 57;

class Placement : public PromptTest {
  protected:
    // The frame's distances from the right and the lower end of the work area, once they are
    // `margin`, or as they are when patience ends.
    PixelRect restingGaps(WindowId window) {
        PixelRect gaps;
        static_cast<void>(eventually([&] {
            const PixelRect frame = display().screen().frameOf(window);
            const PixelRect area = display().screen().workArea();
            gaps = {area.x + area.width - frame.x - frame.width,
                    area.y + area.height - frame.y - frame.height, 0, 0};
            return gaps == PixelRect{margin, margin, 0, 0};
        }));
        return gaps;
    }
};

TEST_F(Placement, FrameEndsThirtyPixelsFromTheRightAndTheBottomOfTheScreen) {
    start(patientPrompt());
    const std::optional<WindowId> window = waitForWindow();
    ASSERT_TRUE(window) << systemLog();
    EXPECT_EQ(display().screen().workArea(), (PixelRect{0, 0, Display::width, Display::height}));
    EXPECT_EQ(restingGaps(*window), (PixelRect{margin, margin, 0, 0}));
    EXPECT_GT(display().screen().frameOf(*window).width, 300);
}

TEST_F(Placement, FrameStandsAboveAPanelThatReservesItsPlace) {
    display().screen().addPanel(Edge::bottom, panelHeight);
    start(patientPrompt());
    const std::optional<WindowId> window = waitForWindow();
    ASSERT_TRUE(window) << systemLog();
    EXPECT_EQ(restingGaps(*window), (PixelRect{margin, margin, 0, 0}));
    const PixelRect frame = display().screen().frameOf(*window);
    EXPECT_EQ(frame.y + frame.height, Display::height - panelHeight - margin);
}

TEST_F(Placement, WindowWithCredentialsStandsInTheCornerToo) {
    start({"OSUpdateWithCred", "Debian 12.9", "false", "15", "false", "2"});
    const std::optional<WindowId> window = waitForWindow();
    ASSERT_TRUE(window) << systemLog();
    EXPECT_EQ(restingGaps(*window), (PixelRect{margin, margin, 0, 0}));
}

TEST_F(Placement, LongTextsGrowTheWindowUpwardsFromTheCorner) {
    start(patientPrompt());
    const std::optional<WindowId> plain = waitForWindow();
    ASSERT_TRUE(plain) << systemLog();
    ASSERT_EQ(restingGaps(*plain), (PixelRect{margin, margin, 0, 0}));
    const int plainHeight = display().screen().frameOf(*plain).height;

    Texts texts = testTexts();
    std::string& message = texts["tarn.agent.msghand.os_reboot.reboot_text"];
    for (int sentence = 0; sentence < 8; ++sentence) {
        message += " Save your work before the computer restarts, and close what is open.";
    }
    writeTexts(texts);
    start(patientPrompt());
    const std::optional<WindowId> tall = waitForWindow();
    ASSERT_TRUE(tall) << systemLog();
    EXPECT_EQ(restingGaps(*tall), (PixelRect{margin, margin, 0, 0}));
    EXPECT_GT(display().screen().frameOf(*tall).height, plainHeight);
}

TEST_F(Placement, WindowFloatsAboveOrdinaryOnes) {
    start(patientPrompt());
    const std::optional<WindowId> window = waitForWindow();
    ASSERT_TRUE(window) << systemLog();
    EXPECT_TRUE(eventually([&] { return display().screen().isAbove(*window); }));
}

TEST_F(Placement, WindowLeavesTheFocusWhereItIs) {
    const WindowId other = display().screen().addWindow({100, 100, 300, 200});
    ASSERT_TRUE(eventually([&] { return display().screen().activeWindow() == other; }));
    start(patientPrompt());
    ASSERT_TRUE(waitForWindow()) << systemLog();
    // The attention request comes five seconds later; by then any activation would have happened.
    ASSERT_TRUE(waitForLog("Dock bounce (critical) triggered at ")) << systemLog();
    EXPECT_EQ(display().screen().activeWindow(), other);
}

TEST_F(Placement, AttentionIsAskedForWhileAnotherWindowIsActive) {
    const WindowId other = display().screen().addWindow({100, 100, 300, 200});
    ASSERT_TRUE(eventually([&] { return display().screen().activeWindow() == other; }));
    start(patientPrompt());
    const std::optional<WindowId> window = waitForWindow();
    ASSERT_TRUE(window) << systemLog();
    EXPECT_TRUE(eventually([&] { return display().screen().demandsAttention(*window); }))
        << systemLog();
}

}  // namespace
}  // namespace velunor::testing
