#pragma once

#include <span>
#include <string>
#include <string_view>

#include "platform/system.h"

namespace velunor {

/// Whether an account may authorise system updates.
enum class SecureTokenStatus { enabled, disabled, unknownUser };

/// Runs a command (the program first, then its arguments) through "/usr/bin/env" and waits for it.
/// Output that is not UTF-8 ends the process. Blocks; any thread.
[[nodiscard]] ChildProcessResult shell(std::span<const std::string> args,
                                       ChildProcess& childProcess);

/// Asks `tool` about the account's secure token. Blocks until the tool exits; any thread.
[[nodiscard]] SecureTokenStatus secureTokenStatus(std::string_view forUser, const std::string& tool,
                                                  ChildProcess& childProcess, SystemLog& log);

}  // namespace velunor
