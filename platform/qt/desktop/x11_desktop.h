#pragma once

#include <QAbstractNativeEventFilter>
#include <QMargins>
#include <QRect>
#include <functional>
#include <optional>

class QScreen;
class QWidget;

namespace velunor {

// What the toolkit does not tell about an X11 desktop. On other platforms everything here answers
// "none". Main thread only, with an application object.

/// Usable area of `screen` on an X11 desktop of several monitors, or one whose window manager names
/// no work area, in the toolkit's coordinates. The toolkit would report the whole monitor there,
/// because the window manager's one work area spans them all; so this one comes from the work areas
/// or the struts of each monitor. None where the toolkit's own answer is right.
[[nodiscard]] std::optional<QRect> x11UsableArea(const QScreen& screen);

/// What the window manager has put around `window`, in points; nothing before the window exists.
/// The toolkit's own figures are wrong while a window is being framed. None outside X11.
[[nodiscard]] std::optional<QMargins> x11FrameMargins(const QWidget& window);

/// Asks the window manager to show `window`, which is on the screen, on every workspace. Nothing
/// outside X11.
void showOnEveryWorkspace(const QWidget& window);

/// Whether the window manager moves a window with the pointer when that asks for it; always so
/// outside X11.
[[nodiscard]] bool movesWindowsOnRequest();

/// Asks the window manager once more to show a window that it keeps minimised although the toolkit
/// has mapped it: one that leaves minimised windows mapped hears nothing of that.
void showMinimizedAgain(const QWidget& window);

/// Whether windows can be translucent: a compositor runs (always so outside X11).
[[nodiscard]] bool hasCompositor();

/// Whether Caps Lock is on this moment; key events tell its state from before. No outside X11.
[[nodiscard]] bool capsLockIsOn();

/// Calls back when panels come, go or change and when a window manager changes a window's frame,
/// which the toolkit does not tell.
class X11DesktopChanges final : public QAbstractNativeEventFilter {
  public:
    explicit X11DesktopChanges(std::function<void()> changed);
    bool nativeEventFilter(const QByteArray& eventType, void* message, qintptr* result) override;

  private:
    /// Where the work area is hidden, has the server tell of each window that comes or goes: panels
    /// are among them.
    void watchWindows();

    std::function<void()> changed_;
    quint32 workAreaAtom_ = 0;
    quint32 managerAtom_ = 0;
    quint32 frameExtentsAtom_ = 0;
    bool watchesWindows_ = false;
};

}  // namespace velunor
