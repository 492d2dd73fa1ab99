#pragma once

#include "agent/linux/settings.h"

namespace velunor {

/// The agent's settings: those of the file once `TarnUtilMac::initializeAgentParams` has read it,
/// defaults before that or when it could not be read. Main thread.
[[nodiscard]] const AgentSettings& loadedSettings();

}  // namespace velunor
