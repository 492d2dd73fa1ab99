#pragma once

#include <sys/types.h>

#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "tests/support/child_process.h"
#include "tests/support/desktop/window_manager.h"

namespace velunor::testing {

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

/// An edge of the screen.
enum class Edge { left, right, top, bottom };

/// A part of the screen that is a monitor of its own.
struct Monitor {
    std::string name;
    PixelRect place;
    bool primary = false;
};

/// Size of a screen of the usual set-up.
inline constexpr int usualWidth = 1280;
inline constexpr int usualHeight = 900;

/// How a virtual screen is made.
struct DisplaySetup {
    int width = usualWidth;
    int height = usualHeight;
    /// The monitors that make it up; one as large as the screen where none is named.
    std::vector<Monitor> monitors{};
    bool withWindowManager = true;
    WindowManager windowManager = openbox();
    /// Variables for the window manager beside the usual ones.
    Environment environment{};
};

/// Number of a window on its X server.
using WindowId = unsigned long;

struct XConnection;
struct Picture;

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
    /// The same where no window manager lists the windows.
    [[nodiscard]] std::optional<WindowId> unlistedWindowOf(pid_t process) const;
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
    /// The window that the keys go to.
    [[nodiscard]] WindowId keyFocus() const;
    [[nodiscard]] bool isAbove(WindowId window) const;
    /// Whether the window is on every workspace.
    [[nodiscard]] bool isEverywhere(WindowId window) const;
    [[nodiscard]] bool demandsAttention(WindowId window) const;
    [[nodiscard]] bool hasCompositor() const;
    /// How many pixels inside the window have exactly this colour (0xRRGGBB).
    [[nodiscard]] std::size_t pixelsOfColour(WindowId window, unsigned long colour) const;

    /// What the whole screen shows.
    [[nodiscard]] Picture picture() const;
    /// Where the windows are that the screen itself holds, those in frames with their frames; only
    /// such as can be seen.
    [[nodiscard]] std::vector<PixelRect> placesOnScreen() const;

    /// The picture of the pointer as it is now, a number for each of its pixels.
    [[nodiscard]] std::vector<unsigned long> pointerPicture() const;

    /// Shows a panel of this thickness along the edge of a monitor, or of the whole screen, that
    /// reserves its place; on return the window manager knows it.
    WindowId addPanel(Edge edge, int thickness, const std::optional<PixelRect>& monitor = {});
    /// Gives a panel along this edge another thickness, and reserves as much.
    void resizePanel(WindowId panel, Edge edge, int thickness,
                     const std::optional<PixelRect>& monitor = {});
    /// Shows an ordinary window that covers the given place, and gives its number.
    WindowId addWindow(const PixelRect& place);
    /// Says what the desktop's user has chosen for texts, for programs that start afterwards.
    void setDotsPerInch(int dots);
    /// Shows a window above all others that is none of the window manager's.
    WindowId addCover(const PixelRect& place);
    /// Shows a window that fills the screen, as a film does.
    WindowId addFullScreenWindow();
    /// Asks the window manager to let a window fill the screen, or to stop that.
    void fillScreen(WindowId window, bool fill);
    void removeWindow(WindowId window);
    /// Shows a window that somebody types in: it has the keys on return, and keeps them as text.
    WindowId addTerminal(const PixelRect& place);
    /// What was typed into a terminal since it was last asked; Return is a line break.
    [[nodiscard]] std::string typedInto(WindowId terminal);
    /// Asks the window manager to make the window the active one, as a task switcher does.
    void activate(WindowId window);
    /// Asks for that until the window has the keys; whether it gets them. One that has just come up
    /// may not take them yet.
    [[nodiscard]] bool comeInto(WindowId window);
    /// Minimises the window, as a task list does.
    void minimize(WindowId window);
    /// Asks for two workspaces.
    void makeTwoWorkspaces();
    /// Goes to the workspace of this number, from 0 on; whether the window manager went there.
    [[nodiscard]] bool goToWorkspace(int number);
    /// Whether the window is mapped and not minimised.
    [[nodiscard]] bool isViewable(WindowId window) const;
    /// Asks the window manager to close the window, as a pager does.
    void requestClose(WindowId window);

    /// Moves the pointer to the middle of a place that is given inside of the window.
    void pointAt(WindowId window, const PixelRect& place);
    /// Clicks where the pointer is.
    void click();
    /// Clicks the middle of a place that is given inside of the window.
    void click(WindowId window, const PixelRect& place);
    /// Moves the pointer to this place of the screen.
    void movePointer(int x, int y);
    /// Presses the button at this place of the screen, moves the pointer by so much in steps, and
    /// lets go.
    void drag(int x, int y, int byX, int byY);
    /// Presses the button inside of the window, moves the pointer by so much in steps, and lets go.
    void drag(WindowId window, const PixelRect& place, int byX, int byY);
    /// Presses and releases the key that xmodmap calls `key` ("Escape"), Alt held or not.
    void pressKey(const std::string& key, bool withAlt = false);
    /// Presses and releases the key of each character of a UTF-8 text, Shift held where it needs
    /// that; Return and Tab stand for a line break and a tabulator. Characters that the keyboard
    /// has no key for are put on unused keys first; throws when there are not enough of those.
    void type(std::string_view text);
    /// Puts the key down or lets it go.
    void holdKey(const std::string& key, bool down);

  private:
    /// Sends the window manager a request about the window.
    void request(WindowId window, const char* name, long first, long second);

    std::unique_ptr<XConnection> connection_;
};

/// A virtual X server on a free display number, with a window manager unless it is not wanted.
class Display {
  public:
    /// Starts both and waits until they work. `directory` holds their files. Throws on failure.
    explicit Display(const std::filesystem::path& directory, const DisplaySetup& setup = {});

    /// The display's name, such as ":5".
    [[nodiscard]] const std::string& name() const { return name_; }
    [[nodiscard]] Screen& screen() { return *screen_; }

    /// Adds a monitor that the server does not have, or takes one away.
    void addMonitor(const Monitor& monitor);
    void removeMonitor(const std::string& name);
    /// Changes the resolution of a screen that is one monitor. Not larger than it was at first.
    void setResolution(int newWidth, int newHeight);
    /// Starts a compositor and waits until it works.
    void startCompositor();
    /// Ends the one that was started, and waits until it is gone.
    void endCompositor();
    /// Kills the server. Nothing but the name is to be asked for after that.
    void killServer();

    /// Size of a screen of the usual set-up.
    static constexpr int width = usualWidth;
    static constexpr int height = usualHeight;

  private:
    void changeSetUp(const std::vector<std::string>& change);

    std::filesystem::path directory_;
    Environment environment_;
    std::string name_;
    std::unique_ptr<ChildProcess> server_;
    std::unique_ptr<ChildProcess> manager_;
    std::unique_ptr<ChildProcess> compositor_;
    std::unique_ptr<Screen> screen_;
};

}  // namespace velunor::testing
