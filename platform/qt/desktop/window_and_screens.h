#pragma once

#include <QRect>
#include <QWidget>
#include <optional>
#include <vector>

#include "platform/desktop.h"

namespace velunor {

// Main thread only, with an application object.

/// Usable area of the main screen in the toolkit's own coordinates (y downwards), panels excluded;
/// empty without a screen.
[[nodiscard]] QRect usableArea();

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
