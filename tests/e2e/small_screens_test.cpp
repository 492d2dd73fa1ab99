// That whoever comes through the window by keyboard sees where they are, however small the screen.

#include <set>

#include "tests/support/prompt/prompt_test.h"

namespace velunor::testing {
namespace {

/// A screen, and how large the desktop's user wants texts.
struct SmallScreen {
    std::string name;
    int width = 0;
    int height = 0;
    int dotsPerInch = 96;
};

void PrintTo(const SmallScreen& screen, std::ostream* out) {
    *out << screen.name;
}

class SmallScreens : public PromptTest, public ::testing::WithParamInterface<SmallScreen> {
  protected:
    /// The control that has the focus, once one beside `before` has it.
    [[nodiscard]] std::optional<Accessible> focusedBeside(const std::string& before) {
        std::optional<Accessible> found;
        static_cast<void>(eventually([&] {
            for (const Accessible& control : controls()) {
                if (control.focused && control.reference.path != before) {
                    found = control;
                }
            }
            return found.has_value();
        }));
        return found;
    }
    /// Whether the control is in sight as a whole: in the usable part of the screen, and, where it
    /// is not one of the buttons below, above the countdown.
    [[nodiscard]] bool isInSight(const std::string& path) {
        std::optional<Accessible> focused;
        std::optional<Accessible> countdown;
        for (const Accessible& control : controls()) {
            if (control.reference.path == path) {
                focused = control;
            } else if (control.name.starts_with("Waits for")) {
                countdown = control;
            }
        }
        if (!focused || !countdown) {
            return false;
        }
        const PixelRect& place = focused->extents;
        const PixelRect card = display().screen().contentOf(*window_);
        const PixelRect area = display().screen().workArea();
        const int top = card.y + place.y;
        const bool isButton = focused->name == "Later" || focused->name == "Go ahead";
        const int lowest = isButton ? area.y + area.height : card.y + countdown->extents.y;
        place_ = std::to_string(place.x) + "," + std::to_string(place.y) + " " +
                 std::to_string(place.width) + "x" + std::to_string(place.height) + " countdown " +
                 std::to_string(countdown->extents.y);
        return place.height > 0 && place.y >= 0 && top >= area.y && card.x + place.x >= area.x &&
               card.x + place.x + place.width <= area.x + area.width &&
               top + place.height <= lowest;
    }
    [[nodiscard]] bool comesInSight(const Accessible& control) {
        return eventually([&] { return isInSight(control.reference.path); });
    }
    [[nodiscard]] const std::string& lastPlace() const { return place_; }
    void setWindow(WindowId window) { window_ = window; }
    [[nodiscard]] WindowId window() const { return *window_; }

  private:
    std::optional<WindowId> window_;
    std::string place_;
};

TEST_P(SmallScreens, ShowTheControlThatHasTheFocus) {
    makeDisplay({.width = GetParam().width, .height = GetParam().height});
    display().screen().setDotsPerInch(GetParam().dotsPerInch);
    display().screen().addPanel(Edge::bottom, 30);
    // The account may not update: a notice comes between the fields.
    writeFile(directory() / "token-tool", "#!/bin/sh\necho DISABLED\n");
    auto texts = testTexts();
    std::string& message = texts["tarn.agent.msghand.os_reboot.reboot_text"];
    for (int count = 0; count < 12; ++count) {
        message += " Save your work first.";
    }
    writeTexts(texts);
    start({"OSUpdateWithCred", "Debian 12.9", "false", "15", "false", "2"});
    const auto shown = waitForWindow();
    ASSERT_TRUE(shown) << systemLog();
    setWindow(*shown);
    const PixelRect card = display().screen().contentOf(window());
    const PixelRect area = display().screen().workArea();
    EXPECT_GE(card.x, area.x);
    EXPECT_GE(card.y, area.y);
    EXPECT_LE(card.y + card.height, area.y + area.height);

    ASSERT_TRUE(display().screen().comeInto(window()));
    std::this_thread::sleep_for(std::chrono::milliseconds(1200));
    std::string before;
    std::set<std::string> visited;
    for (int press = 0; press < 12; ++press) {
        display().screen().pressKey("Tab");
        const auto focused = focusedBeside(before);
        ASSERT_TRUE(focused) << press;
        EXPECT_TRUE(comesInSight(*focused))
            << focused->role << " " << focused->name << " " << lastPlace();
        if (press == 0) {
            ASSERT_EQ(focused->name, "User name");
            display().screen().type("bob");
        } else if (press == 1) {
            ASSERT_TRUE(waitForControl("label", "Not allowed to update.")) << systemLog();
            EXPECT_TRUE(comesInSight(*focused)) << focused->name << " " << lastPlace();
        }
        before = focused->reference.path;
        visited.insert(focused->name);
    }
    for (const char* name : {"User name", "Password", "Later", "Go ahead"}) {
        EXPECT_EQ(visited.count(name), 1U) << name;
    }
}

INSTANTIATE_TEST_SUITE_P(Of, SmallScreens,
                         ::testing::Values(SmallScreen{"800x600", 800, 600},
                                           SmallScreen{"640x480", 640, 480},
                                           SmallScreen{"1024x768_at_144", 1024, 768, 144},
                                           SmallScreen{"800x600_at_144", 800, 600, 144}),
                         [](const auto& screen) { return "At" + screen.param.name; });

}  // namespace
}  // namespace velunor::testing
