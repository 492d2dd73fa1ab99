#pragma once

#include <string>
#include <string_view>

#include "agent/globals.h"
#include "platform/process.h"
#include "platform/system_log.h"

namespace velunor {

/// `path` without its last two components: /A for /A/B/Prompt. A trailing slash does not count as
/// a component and the root stays the root. Any thread.
[[nodiscard]] std::string secondParentOf(std::string_view path);

/// Fills the globals in their fixed order, the agent library included. Ends the process with
/// status 1 when the localised texts do not load; a library that has no global variables after its
/// initialisation is a fatal stop. Main thread, once, before the main loop.
void fillGlobals(Globals& globals, const ProcessInfo& processInfo, SystemLog& log,
                 ProcessExit& processExit);

}  // namespace velunor
