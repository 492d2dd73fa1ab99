// That a prompt which the desktop hides is told of, once each time, and comes when it is asked for.

#include <algorithm>

#include "tests/support/desktop/notification_service.h"
#include "tests/support/desktop/picture.h"
#include "tests/support/desktop/window_manager.h"
#include "tests/support/prompt/prompt_test.h"

namespace velunor::testing {
namespace {

/// A prompt on a desktop that has a notification service.
class HiddenPrompt : public PromptTest {
  protected:
    void makeDesktop(const WindowManager& manager, bool withCompositor = false) {
        bus();
        makeDisplay({.windowManager = manager, .environment = environment()});
        if (withCompositor) {
            display().startCompositor();
        }
    }
    void startCard(const std::vector<std::string>& arguments = patientPrompt()) {
        auto texts = testTexts();
        texts["tarn.agent.msghand.prompt.hidden"] = "Click to see <it>.";
        writeTexts(texts);
        start(arguments);
        ASSERT_TRUE(eventually([&] {
            window_ = display().screen().unlistedWindowOf(process().id());
            return window_.has_value() && isInSight();
        })) << systemLog();
    }
    [[nodiscard]] WindowId window() const { return *window_; }
    /// Whether the card is in sight: the colour of its ground is, which nothing else here has.
    [[nodiscard]] bool isInSight() {
        return countOfColour(display().screen().picture(), display().screen().contentOf(window()),
                             cardColour) > 1000;
    }
    [[nodiscard]] bool becomesHidden() {
        return eventually([this] { return !isInSight(); });
    }
    [[nodiscard]] static bool isTold(const NotificationService& service, std::size_t times = 1) {
        return eventually([&] { return service.shown().size() == times; });
    }
    [[nodiscard]] static bool isWithdrawn(const NotificationService& service,
                                          std::uint32_t number = 1) {
        return eventually([&] {
            const auto all = service.withdrawn();
            return std::ranges::find(all, number) != all.end();
        });
    }

    static constexpr std::uint32_t cardColour = 0xFFFFFF;
    /// Longer than the prompt waits before it says that it is hidden.
    static constexpr std::chrono::milliseconds aMoment{3500};
    static constexpr PixelRect wholeScreen{0, 0, usualWidth, usualHeight};

  private:
    std::optional<WindowId> window_;
};

class HiddenPromptUnder : public HiddenPrompt,
                          public ::testing::WithParamInterface<WindowManager> {};

TEST_P(HiddenPromptUnder, IsToldOfWhereAFullScreenWindowCoversIt) {
    // Before the window manager, which may have a service of its own.
    NotificationService service(bus().address());
    makeDesktop(GetParam());
    startCard();
    std::this_thread::sleep_for(aMoment);
    EXPECT_EQ(service.calls(), 0);
    const WindowId film = display().screen().addFullScreenWindow();
    ASSERT_TRUE(display().screen().comeInto(film));
    if (GetParam().name == "xfwm4") {
        std::this_thread::sleep_for(aMoment);
        EXPECT_TRUE(isInSight());
        EXPECT_EQ(service.calls(), 0);
        return;
    }
    ASSERT_TRUE(becomesHidden());
    ASSERT_TRUE(isTold(service));

    service.click();
    EXPECT_TRUE(eventually([this] { return isInSight(); }));
    EXPECT_TRUE(eventually([&] { return display().screen().keyFocus() == window(); }));
    EXPECT_TRUE(isWithdrawn(service));
    EXPECT_EQ(service.shown().size(), 1U);

    // The next time it is news again. Some end what another window has left for good.
    display().screen().fillScreen(film, true);
    ASSERT_TRUE(display().screen().comeInto(film));
    ASSERT_TRUE(becomesHidden());
    EXPECT_TRUE(isTold(service, 2));
    display().screen().removeWindow(film);
    EXPECT_TRUE(isWithdrawn(service, 2));
    EXPECT_TRUE(process().isRunning());
}

TEST_F(HiddenPrompt, IsNamedLiterallyAsTheWindowNamesIt) {
    makeDesktop(openbox());
    NotificationService service(bus().address(), Notifying::withMarkup);
    startCard({"OSUpdate", "<b>Debian</b> & 12.9", "false", "15", "false", "2"});
    ASSERT_TRUE(display().screen().comeInto(display().screen().addFullScreenWindow()));
    ASSERT_TRUE(isTold(service));
    const Notification told = service.shown().front();
    EXPECT_EQ(told.application, "Test Agent");
    EXPECT_EQ(told.title, "An update is ready");
    EXPECT_EQ(told.body, "\u2022  &lt;b&gt;Debian&lt;/b&gt; &amp; 12.9\nClick to see &lt;it&gt;.");
    EXPECT_EQ(told.actions, (std::vector<std::string>{"default", "An update is ready"}));
    EXPECT_EQ(told.desktopEntry, "velunor-os-update");
    EXPECT_EQ(told.urgency, 2);
}

TEST_F(HiddenPrompt, IsNamedWithoutMarkupWhereTheServiceHasNone) {
    makeDesktop(openbox());
    NotificationService service(bus().address());
    startCard({"OSUpdate", "<b>Debian</b> & 12.9", "false", "15", "false", "2"});
    ASSERT_TRUE(display().screen().comeInto(display().screen().addFullScreenWindow()));
    ASSERT_TRUE(isTold(service));
    EXPECT_EQ(service.shown().front().body, "\u2022  <b>Debian</b> & 12.9\nClick to see <it>.");
}

TEST_F(HiddenPrompt, IsNotToldOfWhileAPartOfItIsInSight) {
    makeDesktop(openbox());
    NotificationService service(bus().address());
    startCard();
    // A panel of somebody's own above it, which leaves the card's left edge in sight.
    const PixelRect card = display().screen().contentOf(window());
    display().screen().addCover({card.x + 20, 0, usualWidth - card.x - 20, usualHeight});
    std::this_thread::sleep_for(aMoment);
    EXPECT_EQ(service.calls(), 0);

    display().screen().addCover(wholeScreen);
    EXPECT_TRUE(isTold(service));
}

TEST_F(HiddenPrompt, IsToldOfBelowACompositorToo) {
    makeDesktop(openbox(), true);
    NotificationService service(bus().address());
    startCard();
    const WindowId film = display().screen().addFullScreenWindow();
    ASSERT_TRUE(display().screen().comeInto(film));
    ASSERT_TRUE(isTold(service));
    service.click();
    EXPECT_TRUE(isWithdrawn(service));
    EXPECT_TRUE(eventually([&] { return display().screen().keyFocus() == window(); }));
}

TEST_F(HiddenPrompt, IsToldOfWhenTheWindowInFrontBecomesAFullScreenOne) {
    makeDesktop(openbox(), true);
    NotificationService service(bus().address());
    startCard();
    const WindowId browser = display().screen().addTerminal({60, 60, 300, 200});
    std::this_thread::sleep_for(aMoment);
    ASSERT_EQ(service.calls(), 0);
    display().screen().fillScreen(browser, true);
    ASSERT_TRUE(isTold(service));
    display().screen().fillScreen(browser, false);
    EXPECT_TRUE(isWithdrawn(service));
}

TEST_F(HiddenPrompt, IsToldOfWhenItComesUpBehindAFullScreenWindow) {
    makeDesktop(openbox());
    NotificationService service(bus().address());
    ASSERT_TRUE(display().screen().comeInto(display().screen().addFullScreenWindow()));
    start(patientPrompt());
    EXPECT_TRUE(isTold(service)) << systemLog();
}

TEST_F(HiddenPrompt, TakesItsNotificationBackWhenItEnds) {
    makeDesktop(openbox());
    startService();
    NotificationService service(bus().address());
    startCard();
    ASSERT_TRUE(display().screen().comeInto(display().screen().addFullScreenWindow()));
    ASSERT_TRUE(isTold(service));
    const auto button = waitForControl("push button", "Later");
    ASSERT_TRUE(button);
    ASSERT_TRUE(reader().act(*button, "Press"));
    EXPECT_EQ(process().wait(), (Ending{0, 0})) << systemLog();
    EXPECT_TRUE(isWithdrawn(service));
}

TEST_F(HiddenPrompt, GoesOnWithoutAService) {
    makeDesktop(openbox());
    startService();
    startCard();
    const std::string before = systemLog();
    ASSERT_TRUE(display().screen().comeInto(display().screen().addFullScreenWindow()));
    ASSERT_TRUE(becomesHidden());
    std::this_thread::sleep_for(aMoment);
    const auto button = waitForControl("push button", "Later");
    ASSERT_TRUE(button);
    ASSERT_TRUE(reader().act(*button, "Press"));
    EXPECT_EQ(process().wait(), (Ending{0, 0})) << systemLog();
}

TEST_F(HiddenPrompt, DoesNotWaitForAServiceThatHangs) {
    makeDesktop(openbox());
    startService();
    NotificationService service(bus().address(), Notifying::mutely);
    startCard();
    ASSERT_TRUE(display().screen().comeInto(display().screen().addFullScreenWindow()));
    ASSERT_TRUE(eventually([&] { return service.calls() == 1; }));
    const auto before = std::chrono::steady_clock::now();
    const auto button = waitForControl("push button", "Later");
    ASSERT_TRUE(button);
    ASSERT_TRUE(reader().act(*button, "Press"));
    EXPECT_EQ(process().wait(), (Ending{0, 0})) << systemLog();
    // A question to the bus would take its 25 seconds.
    EXPECT_LT(std::chrono::steady_clock::now() - before, std::chrono::seconds(10));
}

INSTANTIATE_TEST_SUITE_P(On, HiddenPromptUnder, ::testing::ValuesIn(windowManagers()),
                         [](const auto& manager) { return manager.param.name; });

}  // namespace
}  // namespace velunor::testing
