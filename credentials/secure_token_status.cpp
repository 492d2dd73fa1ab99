#include "credentials/secure_token_status.h"

#include <array>

#include "platform/fatal_stop.h"
#include "platform/text.h"

namespace velunor {
namespace {

bool contains(std::string_view text, std::string_view part) {
    return text.find(part) != std::string_view::npos;
}

}  // namespace

ChildProcessResult shell(std::span<const std::string> args, ChildProcess& childProcess) {
    ChildProcessResult result = childProcess.run("/usr/bin/env", args);
    if (!isValidUtf8(result.output)) {
        fatalStop();
    }
    return result;
}

SecureTokenStatus secureTokenStatus(std::string_view forUser, const std::string& tool,
                                    ChildProcess& childProcess, SystemLog& log) {
    const std::array<std::string, 3> command{tool, "-secureTokenStatus", std::string(forUser)};
    log.write("Command To Be Executed " + listDescription(command));
    const std::string output = shell(command, childProcess).output;
    log.write("Output " + output);
    if (contains(output, "ENABLED")) {
        return SecureTokenStatus::enabled;
    }
    return contains(output, "Unknown user") ? SecureTokenStatus::unknownUser
                                            : SecureTokenStatus::disabled;
}

}  // namespace velunor
