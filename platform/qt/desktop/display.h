#pragma once

#include <QRect>
#include <QRegion>
#include <QWidget>
#include <optional>
#include <vector>

#include "platform/application.h"

namespace velunor {

/// Whether the desktop that the environment names can be reached. Call it before the application
/// object is made, which would end the process with a core dump where there is none, or wait for an
/// X server that never answers; ten seconds are enough here. Prefers an X server on a Wayland
/// desktop (a window can place itself there) and settles that by setting QT_QPA_PLATFORM where it
/// is unset. Main thread, before any other thread starts.
[[nodiscard]] bool prepareDisplay();

// What follows: main thread only, with an application object.

/// Usable area of `screen` in the toolkit's own coordinates (y downwards), panels excluded; empty
/// where that is null.
[[nodiscard]] QRect usableArea(const QScreen* screen);

/// The pixels of a rectangle of this size whose corners are rounded with `radius`: those whose
/// middle is inside. For windows on a screen that cannot blend them.
[[nodiscard]] QRegion roundedRegion(const QSize& size, int radius);

/// A widget that is a window, as the logic sees it. The widget must outlive it.
class QtWindow final : public Window {
  public:
    explicit QtWindow(QWidget& widget) : widget_(widget) {}
    [[nodiscard]] Rect frame() const override;
    void setFrameOrigin(const Point& origin) override;
    /// Every level above the normal one floats.
    void setLevel(int level) override;

  private:
    QWidget& widget_;
};

/// The screens as the toolkit knows them.
class QtScreens final : public Screens {
  public:
    [[nodiscard]] std::optional<Rect> mainScreenVisibleFrame() const override;
};

/// The application with its one window, which outlives this object.
class QtApplication final : public Application {
  public:
    QtApplication(QWidget& widget, Window& window) : widget_(widget), window_(window) {}

    [[nodiscard]] std::vector<Window*> windows() override { return {&window_}; }
    void requestCriticalAttention() override;
    void setApplicationIconImage(const ImagePointer& image) override;

  private:
    QWidget& widget_;
    Window& window_;
};

}  // namespace velunor
