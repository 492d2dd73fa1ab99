#pragma once

#include <optional>

#include "platform/desktop.h"
#include "platform/process.h"

namespace velunor {

/// Answers the application's life-cycle callbacks. Main thread only.
class AppDelegate {
  public:
    AppDelegate(Application& application, ProcessActivity& processActivity);
    AppDelegate(const AppDelegate&) = delete;
    AppDelegate& operator=(const AppDelegate&) = delete;
    ~AppDelegate() = default;

    /// Declares the countdown as an activity, so that it keeps its time while the prompt waits, and
    /// raises the first window above ordinary ones.
    void applicationDidFinishLaunching();

    /// Ends the activity. Called by an ordinary termination, not by a direct exit.
    void applicationWillTerminate();

    /// Always true. Nothing on this system asks; it belongs to the callbacks of the interface.
    [[nodiscard]] static bool applicationSupportsSecureRestorableState() { return true; }

  private:
    Application& application_;
    ProcessActivity& processActivity_;
    std::optional<ProcessActivity::Token> activity_;
};

}  // namespace velunor
