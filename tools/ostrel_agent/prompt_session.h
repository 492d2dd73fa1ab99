#pragma once

#include "agent/linux/settings.h"
#include "tools/ostrel_agent/command_line.h"

namespace velunor {

// The launcher has one thread.

/// Serves, starts the prompt, waits for its end and prints its answer's JSON on standard output.
/// The bus is that of the settings; where these name none, the system's for root and else the
/// session's.
[[nodiscard]] AgentExit runPrompt(const PromptCommand& command, const AgentSettings& settings);

/// Serves until a signal ends it, or until the first request with `once`; prints each request.
[[nodiscard]] AgentExit runService(const ServeCommand& command, ServiceBus bus);

}  // namespace velunor
