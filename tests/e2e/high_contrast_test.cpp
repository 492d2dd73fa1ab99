// That the window looks as the desktop's user wants texts and lines to look.

#include <cmath>

#include "tests/support/desktop/fake_portal.h"
#include "tests/support/desktop/picture.h"
#include "tests/support/prompt/prompt_test.h"

namespace velunor::testing {
namespace {

class DesktopLooks : public PromptTest {
  protected:
    /// Shows the prompt; `FakePortal`s of the test answer it.
    void startCard() {
        start({"OSUpdateWithCred", "Debian 12.9", "false", "15", "false", "2"});
        window_ = waitForWindow();
        ASSERT_TRUE(window_) << systemLog();
    }
    [[nodiscard]] PixelRect card() { return display().screen().contentOf(*window_); }
    [[nodiscard]] std::size_t pixels(unsigned long colour) {
        return display().screen().pixelsOfColour(*window_, colour);
    }
    /// Whether everything comes to be of this colour, with outlines of two points around the card,
    /// the panel, both fields and a button.
    [[nodiscard]] ::testing::AssertionResult becomesStrong(unsigned long ground) {
        const unsigned long ink = 0xFFFFFF - ground;
        std::size_t inked = 0;
        std::size_t usual = 0;
        const bool strong = eventually([&] {
            inked = pixels(ink);
            usual = pixels(ordinaryPanel);
            return inked > 4000 && pixels(ground) > 10 * inked && usual < 100;
        });
        return (strong ? ::testing::AssertionSuccess() : ::testing::AssertionFailure())
               << inked << " pixels of ink, " << usual << " of the usual look";
    }
    /// Width of the card once it is not what it was.
    [[nodiscard]] int newWidth(int before) {
        static_cast<void>(eventually([&] { return card().width != before; }));
        return card().width;
    }

    /// Ground of the panel in the usual light look.
    static constexpr unsigned long ordinaryPanel = 0xF4F6FA;

  private:
    std::optional<WindowId> window_;
};

TEST_F(DesktopLooks, FollowsHighContrastOfThePortal) {
    FakePortal portal(bus().address(), {.colorScheme = 2});
    startCard();
    ASSERT_TRUE(eventually([this] { return pixels(ordinaryPanel) > 10000; }));
    portal.change({.colorScheme = 2, .contrast = 1});
    EXPECT_TRUE(becomesStrong(0xFFFFFF));
    portal.change({.colorScheme = 1, .contrast = 1});
    EXPECT_TRUE(becomesStrong(0x000000));
    portal.change({.colorScheme = 2});
    EXPECT_TRUE(eventually([this] { return pixels(ordinaryPanel) > 10000; }));
}

TEST_F(DesktopLooks, FollowsHighContrastOfGnome) {
    const FakePortal portal(bus().address(), {.highContrast = true});
    startCard();
    EXPECT_TRUE(becomesStrong(0xFFFFFF));
}

TEST_F(DesktopLooks, GrowsWithTheTextsOfTheDesktop) {
    FakePortal portal(bus().address());
    startCard();
    const PixelRect usual = card();
    portal.change({.textScale = 2});
    const int large = newWidth(usual.width);
    EXPECT_GT(large, usual.width * 1.4);
    EXPECT_GT(card().height, usual.height * 1.2);
    // It stays in its corner.
    EXPECT_TRUE(eventually([&] {
        return card().x + card().width == usual.x + usual.width &&
               card().y + card().height == usual.y + usual.height;
    }));
    portal.change({.textScale = 1});
    EXPECT_EQ(newWidth(large), usual.width);
}

TEST_F(DesktopLooks, GrowsOnceWhereTheXServerTellsTheSame) {
    const FakePortal portal(bus().address(), {.textScale = 1.5});
    display().screen().setDotsPerInch(144);
    startCard();
    // The portal has been heard when the outlines are those of the other look.
    EXPECT_EQ(card().width, 630);
    std::this_thread::sleep_for(std::chrono::seconds(1));
    EXPECT_EQ(card().width, 630);
}

TEST_F(DesktopLooks, GrowsWithTheDotsPerInchThatTheToolkitIsTold) {
    environment()["QT_FONT_DPI"] = "192";
    startCard();
    EXPECT_GT(card().width, 600);
}

}  // namespace
}  // namespace velunor::testing
