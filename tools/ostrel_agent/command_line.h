#pragma once

#include <chrono>
#include <optional>
#include <string>
#include <variant>
#include <vector>

#include "platform/expected.h"

namespace velunor {

/// What `ostrel-agent` exits with, so that a script can tell the answers and the failures apart.
enum class AgentExit : int {
    proceed = 0,
    wrongSettingsPath = 1,
    usage = 2,
    noService = 3,
    noAnswer = 4,
    timeout = 5,
    nobodyThere = 6,
    unknownUser = 7,
    noDesktop = 8,
    sessionEnded = 9,
    postpone = 10,
};

/// Writes the program's name and `text`, as one line, to standard error.
void complain(const std::string& text);

/// Complains, and gives `status` back.
[[nodiscard]] AgentExit fail(const std::string& text, AgentExit status);

/// Own the service's name and answer each request.
struct ServeCommand {
    bool once = false;
    std::string reply = "OK";
};

/// The user at the first seat of the machine, whoever that is.
struct ActiveUser {};

/// Show one prompt and report its answer.
struct PromptCommand {
    /// Who is asked: the user who sits there, the one of this name, or else the caller.
    std::variant<std::monostate, ActiveUser, std::string> user{};
    std::string program;
    /// Longest time to wait for the answer; none waits as long as the prompt does.
    std::optional<std::chrono::seconds> timeout;
    /// What the prompt is started with.
    std::vector<std::string> arguments;
};

struct HelpCommand {};
struct VersionCommand {};

using Command = std::variant<ServeCommand, PromptCommand, HelpCommand, VersionCommand>;

/// Reads the arguments that follow the program's name.
[[nodiscard]] Expected<Command> parseCommandLine(const std::vector<std::string>& arguments);

}  // namespace velunor
