#pragma once

#include <chrono>
#include <memory>
#include <string>

#include "tests/support/desktop/display.h"

namespace velunor::testing {

/// Sees on an X server when the next window comes up, of whatever program, by events alone: asking
/// again and again would cost the programs that are measured.
class WindowWatch {
  public:
    using Clock = std::chrono::steady_clock;

    /// A window that came up.
    struct Appearance {
        WindowId window = 0;
        /// When the server mapped it.
        Clock::time_point mapped;
        /// When there was a picture in it: more than the two colours of a frame and its inside.
        Clock::time_point painted;
    };

    /// Watches the server `name` (":5"). Throws when it is not there.
    explicit WindowWatch(const std::string& name);
    WindowWatch(const WindowWatch&) = delete;
    WindowWatch& operator=(const WindowWatch&) = delete;
    ~WindowWatch();

    /// What has come up so far does not count; to be called before the program is started.
    void forget();
    /// The next window that is more than an icon, once it is painted. Throws when none comes.
    [[nodiscard]] Appearance next();

  private:
    struct Server;
    [[nodiscard]] bool hasPicture(WindowId window) const;

    std::unique_ptr<Server> server_;
};

}  // namespace velunor::testing
