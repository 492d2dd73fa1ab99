#pragma once

#include "platform/desktop.h"

class QWidget;

namespace velunor {

/// The screens as the desktop's panels leave them.
class QtScreens : public Screens {
  public:
    [[nodiscard]] std::optional<Rect> mainScreenVisibleFrame() const override;
};

/// A top-level widget as a window. The widget outlives this object.
class QtWindow : public Window {
  public:
    explicit QtWindow(QWidget& widget) : widget_(widget) {}
    [[nodiscard]] Rect frame() const override;
    void setFrameOrigin(const Point& origin) override;
    void setLevel(int level) override;

  private:
    QWidget& widget_;
};

/// The application with its one window, which outlives this object.
class QtApplication : public Application {
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
