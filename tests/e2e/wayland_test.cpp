// The prompt on a Wayland desktop, with and without an X server inside.

#include "tests/support/desktop/wayland.h"

#include <cstdlib>

#include "tests/support/prompt/prompt_test.h"

namespace velunor::testing {
namespace {

class OnWayland : public PromptTest {
  protected:
    void makeDesktop(bool withXServer) {
        desktop_ =
            std::make_unique<WaylandDesktop>(directory(), directory() / "runtime", withXServer);
        environment()["WAYLAND_DISPLAY"] = WaylandDesktop::name();
        if (withXServer) {
            environment()["DISPLAY"] = desktop_->xDisplay();
        }
    }
    [[nodiscard]] WaylandDesktop& desktop() { return *desktop_; }

  private:
    std::unique_ptr<WaylandDesktop> desktop_;
};

// The card's ground in the light scheme, which the bare desktop has nowhere.
constexpr const char* cardColour = "#ffffff";
constexpr int margin = 30;
constexpr int leastCardWidth = 400;

TEST_F(OnWayland, WithoutAnXServerThePromptShowsAndTakesAnAnswer) {
    makeDesktop(false);
    startService();
    ASSERT_LT(desktop().placeOfColour(cardColour).width, leastCardWidth);
    start(patientPrompt());
    const auto button = waitForControl("push button", "Go ahead");
    ASSERT_TRUE(button) << systemLog();
    EXPECT_TRUE(
        eventually([&] { return desktop().placeOfColour(cardColour).width >= leastCardWidth; }));
    ASSERT_TRUE(reader().act(*button, "Press"));
    EXPECT_EQ(process().wait(), (Ending{0, 0})) << systemLog();
    EXPECT_EQ(requests(),
              (std::vector<Request>{{"PatchOSUpdateNotificationStatus", R"({"proceed":{}})"}}));
}

TEST_F(OnWayland, WithoutAnXServerTheCountdownEndsThePrompt) {
    makeDesktop(false);
    startService();
    start({"OSUpdate", "Debian 12.9", "false", "0", "false", "2"});
    EXPECT_EQ(process().wait(), (Ending{0, 0})) << systemLog();
    EXPECT_EQ(requests(),
              (std::vector<Request>{{"PatchOSUpdateNotificationStatus", R"({"postponse":{}})"}}));
}

TEST_F(OnWayland, WithAnXServerThePromptPlacesItself) {
    makeDesktop(true);
    startService();
    start(patientPrompt());
    Screen screen(desktop().xDisplay());
    std::optional<WindowId> window;
    ASSERT_TRUE(eventually([&] {
        window = screen.unlistedWindowOf(process().id());
        return window.has_value();
    })) << systemLog();
    // What counts is where the compositor shows it; the X server inside does not know that.
    PixelRect card;
    const bool inCorner = eventually(
        [&] {
            card = desktop().placeOfColour(cardColour);
            // The card's border has another colour.
            const int right = WaylandDesktop::width - card.x - card.width;
            const int bottom = WaylandDesktop::height - card.y - card.height;
            return card.width >= leastCardWidth && std::abs(right - margin) <= 1 &&
                   std::abs(bottom - margin) <= 1;
        },
        std::chrono::seconds(10));
    EXPECT_TRUE(inCorner) << card.x << "," << card.y << " " << card.width << "x" << card.height;
    const auto button = waitForControl("push button", "Later");
    ASSERT_TRUE(button) << systemLog();
    ASSERT_TRUE(reader().act(*button, "Press"));
    EXPECT_EQ(process().wait(), (Ending{0, 0})) << systemLog();
    EXPECT_EQ(requests(),
              (std::vector<Request>{{"PatchOSUpdateNotificationStatus", R"({"postponse":{}})"}}));
}

}  // namespace
}  // namespace velunor::testing
