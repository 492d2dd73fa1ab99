#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "agent/globals.h"
#include "platform/application.h"
#include "platform/system.h"

namespace velunor {

/// `path` without its last two components: /A for /A/B/Prompt. A trailing slash does not count as
/// a component and the root stays the root. Any thread.
[[nodiscard]] std::string secondParentOf(std::string_view path);

/// Fills the globals in their fixed order, the agent library included. Ends the process with
/// status 1 when the localised texts do not load; a library that has no global variables after its
/// initialisation is a fatal stop. Main thread, once, before the main loop.
void fillGlobals(Globals& globals, const ProcessInfo& processInfo, SystemLog& log,
                 ProcessExit& processExit);

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
