#include <sys/prctl.h>

#include <csignal>
#include <cstdio>
#include <string>
#include <vector>

#include "agent/linux/settings.h"
#include "platform/posix/process.h"
#include "tools/ostrel_agent/command_line.h"
#include "tools/ostrel_agent/prompt_session.h"

namespace {

constexpr const char* usage =
    "Usage: ostrel-agent serve [--once] [--reply TEXT]\n"
    "       ostrel-agent prompt [--timeout SECONDS] [--program PATH] [--user NAME | --active]\n"
    "                    -- KIND NAME PROCEED MINUTES POSTPONE-DISABLED POSTPONE-COUNT\n"
    "       ostrel-agent --help | --version\n"
    "\n"
    "serve   owns the agent service's name on the bus of the settings, prints each request (user\n"
    "        id of the sender, key, JSON) and replies to it.\n"
    "prompt  serves, shows one prompt (VelunorOSUpdate beside this program, or PATH) and prints\n"
    "        its answer's JSON. Root can ask the user NAME, or whoever sits at the machine, in\n"
    "        their graphical session. Exits with 0 for proceed, 10 for postpone, 1 when the\n"
    "        settings' path is not absolute, 2 for a wrong command line, 3 when settings, bus or\n"
    "        name cannot be had, 4 when the prompt did not start or ended without an answer,\n"
    "        5 after the time-out, 6 when nobody is there to ask, 7 for an unknown user, 8 when\n"
    "        the session is not graphical, 9 when it ended before the answer.\n";

using velunor::AgentExit;

AgentExit run(const velunor::Command& command) {
    if (std::holds_alternative<velunor::HelpCommand>(command)) {
        std::fputs(usage, stdout);
        return AgentExit::proceed;
    }
    if (std::holds_alternative<velunor::VersionCommand>(command)) {
        std::printf("ostrel-agent %s\n", VELUNOR_VERSION);
        return AgentExit::proceed;
    }
    const auto path = velunor::settingsPath();
    if (!path) {
        return velunor::fail(path.error().description, AgentExit::wrongSettingsPath);
    }
    const auto settings = velunor::loadSettings(*path);
    if (!settings) {
        return velunor::fail(settings.error().description, AgentExit::noService);
    }
    if (const auto* serve = std::get_if<velunor::ServeCommand>(&command)) {
        return velunor::runService(*serve, velunor::serviceBus(*settings));
    }
    return velunor::runPrompt(std::get<velunor::PromptCommand>(command), *settings);
}

}  // namespace

int main(int argc, char** argv) {
    // An answer may hold a password: no core dump, no reading by other programs.
    prctl(PR_SET_DUMPABLE, 0);
    velunor::occupyStandardStreams();
    // A reader that has gone is an answer that cannot be written, and no reason to leave a request
    // without its reply.
    static_cast<void>(std::signal(SIGPIPE, SIG_IGN));
    const std::vector<std::string> arguments(argv + (argc > 0 ? 1 : 0), argv + argc);
    const auto command = velunor::parseCommandLine(arguments);
    if (!command) {
        std::fputs(usage, stderr);
        return static_cast<int>(velunor::fail(command.error().description, AgentExit::usage));
    }
    return static_cast<int>(run(*command));
}
