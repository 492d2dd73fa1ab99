#pragma once

#include <QApplication>
#include <QTemporaryFile>
#include <array>
#include <string>

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

/// The application object, on the screen of a small laptop unless another size is given in points.
class OffscreenApplication {
  public:
    explicit OffscreenApplication(int width = 1280, int height = 800) : screen_(width, height, 1) {}

    /// False when the screen could not be described to the toolkit.
    [[nodiscard]] bool isReady() const { return screen_.isReady(); }

  private:
    OffscreenScreen screen_;
    std::string name_ = "tests";
    int argumentCount_ = 1;
    std::array<char*, 2> arguments_{name_.data(), nullptr};
    QApplication application_{argumentCount_, arguments_.data()};
};

}  // namespace velunor
