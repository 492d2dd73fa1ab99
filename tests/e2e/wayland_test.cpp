// The prompt on a Wayland desktop, with and without an X server inside.

#include "tests/e2e/support/wayland.h"

#include "tests/e2e/support/prompt_test.h"

namespace velunor::e2e {
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

// The card in the light scheme, whose colour the bare desktop has nowhere.
constexpr const char* cardColour = "#ffffff";
constexpr double leastCardShare = 0.05;

TEST_F(OnWayland, WithoutAnXServerThePromptShowsAndTakesAnAnswer) {
    makeDesktop(false);
    startService();
    ASSERT_LT(desktop().shareOfColour(cardColour), leastCardShare / 10);
    start(patientPrompt());
    const auto button = waitForControl("push button", "Go ahead");
    ASSERT_TRUE(button) << systemLog();
    EXPECT_TRUE(eventually([&] { return desktop().shareOfColour(cardColour) > leastCardShare; }));
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
    constexpr int margin = 30;
    const auto corner = [&] {
        const PixelRect content = screen.contentOf(*window);
        return std::pair(content.x + content.width, content.y + content.height);
    };
    constexpr std::pair wanted{WaylandDesktop::width - margin, WaylandDesktop::height - margin};
    static_cast<void>(eventually([&] { return corner() == wanted; }, std::chrono::seconds(10)));
    EXPECT_EQ(corner(), wanted);
    const auto button = waitForControl("push button", "Later");
    ASSERT_TRUE(button) << systemLog();
    ASSERT_TRUE(reader().act(*button, "Press"));
    EXPECT_EQ(process().wait(), (Ending{0, 0})) << systemLog();
    EXPECT_EQ(requests(),
              (std::vector<Request>{{"PatchOSUpdateNotificationStatus", R"({"postponse":{}})"}}));
}

}  // namespace
}  // namespace velunor::e2e
