#pragma once

#include <QTemporaryFile>

namespace velunor {

/// Makes the application object that comes next draw on a screen of its own that nobody sees, in a
/// way that does not depend on the desktop it runs on.
class OffscreenScreen {
  public:
    /// Size in points, and the pixels of each point.
    OffscreenScreen(int width, int height, int scale);
    /// False when the screen could not be described to the toolkit.
    [[nodiscard]] bool isReady() const { return ready_; }

  private:
    QTemporaryFile description_;
    bool ready_ = false;
};

}  // namespace velunor
