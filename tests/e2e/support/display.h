#pragma once

#include <sys/types.h>

#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "tests/e2e/support/child_process.h"

namespace velunor::e2e {

/// A rectangle in pixels; y grows downwards from the top of the screen.
struct PixelRect {
    int x = 0;
    int y = 0;
    int width = 0;
    int height = 0;
    bool operator==(const PixelRect&) const = default;
};

/// Widths of a window's decoration in pixels.
struct Decoration {
    int left = 0;
    int right = 0;
    int top = 0;
    int bottom = 0;
};

/// Number of a window on its X server.
using WindowId = unsigned long;

struct XConnection;

/// A connection to an X server: looks at windows, and acts as pointer and keyboard do.
class Screen {
  public:
    /// Connects to the server `name` (":5"). Throws when it is not there.
    explicit Screen(const std::string& name);
    Screen(const Screen&) = delete;
    Screen& operator=(const Screen&) = delete;
    ~Screen();

    /// Waits until a window manager takes in windows; whether one does. It says that it is there
    /// earlier than that, and forgets what is shown in between.
    [[nodiscard]] bool waitForWindowManager();
    /// The window of this process that is on the screen, once it is mapped.
    [[nodiscard]] std::optional<WindowId> windowOf(pid_t process) const;
    /// The windows that are on the screen, as far as a window manager knows them.
    [[nodiscard]] std::vector<WindowId> shownWindows() const;
    /// Where the inside of the window is, without its decoration.
    [[nodiscard]] PixelRect contentOf(WindowId window) const;
    /// Where the window is, its decoration included.
    [[nodiscard]] PixelRect frameOf(WindowId window) const;
    /// What the window manager put around the window; none while it has not said so.
    [[nodiscard]] std::optional<Decoration> decorationOf(WindowId window) const;
    /// The window manager's usable area of the screen.
    [[nodiscard]] PixelRect workArea() const;
    [[nodiscard]] WindowId activeWindow() const;
    [[nodiscard]] bool isAbove(WindowId window) const;
    [[nodiscard]] bool demandsAttention(WindowId window) const;
    /// How many pixels inside the window have exactly this colour (0xRRGGBB).
    [[nodiscard]] std::size_t pixelsOfColour(WindowId window, unsigned long colour) const;

    /// Shows a panel of this height along the bottom that reserves its place.
    void addBottomPanel(int height);
    /// Shows an ordinary window that covers the given place, and gives its number.
    WindowId addWindow(const PixelRect& place);
    /// Asks the window manager to close the window, as a pager does.
    void requestClose(WindowId window);

    /// Clicks the middle of a place that is given inside of the window.
    void click(WindowId window, const PixelRect& place);
    /// Presses and releases the key that xmodmap calls `key` ("Escape"), Alt held or not.
    void pressKey(const std::string& key, bool withAlt = false);
    /// Presses and releases the key of each character, Shift held where it needs that. Throws at a
    /// character that the keyboard has no key for; ASCII has one.
    void type(std::string_view text);
    /// Puts the key down or lets it go.
    void holdKey(const std::string& key, bool down);

  private:
    std::unique_ptr<XConnection> connection_;
};

/// A virtual X server on a free display number with a window manager.
class Display {
  public:
    /// Starts both and waits until they work. `directory` holds their files. Throws on failure.
    explicit Display(const std::filesystem::path& directory);

    /// The display's name, such as ":5".
    [[nodiscard]] const std::string& name() const { return name_; }
    [[nodiscard]] Screen& screen() { return *screen_; }

    static constexpr int width = 1280;
    static constexpr int height = 900;

  private:
    std::string name_;
    std::unique_ptr<ChildProcess> server_;
    std::unique_ptr<ChildProcess> manager_;
    std::unique_ptr<Screen> screen_;
};

}  // namespace velunor::e2e
