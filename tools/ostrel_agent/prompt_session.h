#pragma once

#include "agent/linux/settings.h"
#include "tools/ostrel_agent/command_line.h"

namespace velunor {

// The launcher has one thread.

/// Serves, starts the prompt, waits for its end and prints its answer's JSON on standard output.
[[nodiscard]] AgentExit runPrompt(const PromptCommand& command, ServiceBus bus);

/// Serves until a signal ends it, or until the first request with `once`; prints each request.
[[nodiscard]] AgentExit runService(const ServeCommand& command, ServiceBus bus);

}  // namespace velunor
