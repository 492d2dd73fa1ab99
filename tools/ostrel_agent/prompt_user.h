#pragma once

#include <sys/types.h>

#include <optional>
#include <string>
#include <vector>

#include "platform/expected.h"
#include "platform/linux/session/desktop_session.h"
#include "tools/ostrel_agent/command_line.h"

namespace velunor {

/// Why the program ends, and with which status.
struct Refusal {
    AgentExit status = AgentExit::noAnswer;
    std::string reason;
};

/// Another user than the caller, in whose graphical session the prompt is shown.
class PromptUser {
  public:
    /// Finds the session of the user that `command` names; none where it names nobody. Refused
    /// unless the caller is root.
    [[nodiscard]] static Expected<std::optional<PromptUser>, Refusal> find(
        const PromptCommand& command);

    /// The command that runs another one in the session, as the user, until it is told to end.
    [[nodiscard]] std::vector<std::string> inSession(const std::vector<std::string>& command) const;

    /// Whether the process `sender` of the user `user` is what that command has started.
    [[nodiscard]] bool hasStarted(pid_t sender, std::optional<uid_t> user) const;

    /// Whether the session is still open.
    [[nodiscard]] bool isThere() const { return isOpen(session_); }

    /// Waits for a moment whether the session ends; whether it has.
    [[nodiscard]] bool leaves() const;

  private:
    PromptUser(DesktopSession session, gid_t group);

    DesktopSession session_;
    gid_t group_;
    /// Name of the service as which the prompt runs.
    std::string service_;
};

}  // namespace velunor
