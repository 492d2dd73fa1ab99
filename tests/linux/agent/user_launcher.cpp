// The launcher on a machine that has no user's service manager. Every process there is what the
// launcher has started, or a part of the service that the file /run/unit names.

#include <systemd/sd-login.h>
#include <unistd.h>

#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

#include "agent/linux/settings.h"
#include "tests/support/files.h"
#include "tools/ostrel_agent/prompt_session.h"

// NOLINTBEGIN(bugprone-reserved-identifier): the name that the linker gives.
extern "C" int __wrap_sd_pid_get_user_unit(pid_t /*process*/, char** unit) {
    const std::string other = velunor::testing::readFile("/run/unit");
    const std::string own = "velunor-os-update-" + std::to_string(getpid()) + ".service";
    *unit = strdup(other.empty() ? own.c_str() : other.c_str());
    return 0;
}
// NOLINTEND(bugprone-reserved-identifier)

int main(int argc, char** argv) {
    using namespace velunor;
    const auto command = parseCommandLine(std::vector<std::string>(argv + 1, argv + argc));
    const auto settings = loadSettings(*settingsPath());
    if (!command || !std::holds_alternative<PromptCommand>(*command) || !settings) {
        return EXIT_FAILURE;
    }
    return static_cast<int>(runPrompt(std::get<PromptCommand>(*command), *settings));
}
