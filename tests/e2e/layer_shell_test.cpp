// The prompt on a Wayland compositor that puts windows where they ask to be.

#include <cstdlib>
#include <sstream>

#include "tests/support/prompt/prompt_test.h"

namespace velunor::testing {
namespace {

class OnALayerShell : public PromptTest {
  protected:
    /// Starts sway with a panel, and no X server inside.
    void SetUp() override {
        const std::filesystem::path settings = directory() / "sway.conf";
        writeFile(settings,
                  "output HEADLESS-1 resolution " + std::to_string(width) + "x" +
                      std::to_string(height) +
                      "\noutput * bg #446688 solid_color\nxwayland disable\nbar {\n  position "
                      "bottom\n  height " +
                      std::to_string(panel) + "\n}\n");
        environment().insert({{"WLR_BACKENDS", "headless"},
                              {"WLR_LIBINPUT_NO_DEVICES", "1"},
                              {"WLR_RENDERER", "pixman"}});
        compositor_ =
            std::make_unique<ChildProcess>(Command{.arguments = {"sway", "-c", settings.string()},
                                                   .environment = environment(),
                                                   .output = {},
                                                   .errors = directory() / "sway.log"});
        environment()["WAYLAND_DISPLAY"] = "wayland-1";
        ASSERT_TRUE(eventually([&] { return exists(directory() / "runtime/wayland-1"); }))
            << readFile(directory() / "sway.log");
    }
    /// Where the card is, by the colour of its ground; without width where it is not.
    [[nodiscard]] PixelRect card() {
        const std::filesystem::path bounds = directory() / "bounds";
        writeFile(bounds, "");
        ChildProcess look(Command{
            .arguments = {"sh", "-c",
                          "grim -g '0,0 1280x860' \"$1\" && exec convert \"$1\" -alpha off -fill "
                          "black +opaque '#ffffff' -format '%@' info:",
                          "sh", (directory() / "screen.png").string()},
            .environment = environment(),
            .output = bounds,
            .errors = directory() / "look.log"});
        static_cast<void>(look.wait());
        PixelRect place;
        char between = 0;
        std::istringstream text(readFile(bounds));
        text >> place.width >> between >> place.height >> place.x >> place.y;
        return place;
    }

    static constexpr int width = 1280;
    static constexpr int height = 900;
    static constexpr int panel = 40;

  private:
    std::unique_ptr<ChildProcess> compositor_;
};

TEST_F(OnALayerShell, StandsInTheCornerBesideThePanel) {
    startService();
    start(patientPrompt());
    PixelRect place;
    EXPECT_TRUE(eventually([&] {
        place = card();
        // The card's border has another colour.
        return place.width > 400 && std::abs(width - place.x - place.width - 30) <= 1 &&
               std::abs(height - panel - place.y - place.height - 30) <= 1;
    })) << place.x
        << "," << place.y << " " << place.width << "x" << place.height << systemLog();
    // The kind has another name in newer accessibility services.
    std::optional<Accessible> later;
    ASSERT_TRUE(eventually([&] {
        later = findControl(controls(), "button", "Later");
        later = later ? later : findControl(controls(), "push button", "Later");
        return later.has_value();
    })) << systemLog();
    ASSERT_TRUE(reader().act(*later, "Press"));
    EXPECT_EQ(process().wait(), (Ending{0, 0})) << systemLog();
}

}  // namespace
}  // namespace velunor::testing
