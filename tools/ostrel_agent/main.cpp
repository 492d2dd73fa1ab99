#include <sys/prctl.h>

#include <algorithm>
#include <csignal>
#include <cstdio>
#include <string>
#include <vector>

#include "agent/linux/settings.h"
#include "platform/posix/process.h"
#include "tools/ostrel_agent/command_line.h"
#include "tools/ostrel_agent/help.h"
#include "tools/ostrel_agent/prompt_session.h"

namespace {

using velunor::AgentExit;

AgentExit run(const velunor::Command& command) {
    if (std::holds_alternative<velunor::HelpCommand>(command)) {
        std::fputs(velunor::helpText, stdout);
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
    const std::vector<std::string> arguments(argv + std::min(argc, 1), argv + argc);
    const auto command = velunor::parseCommandLine(arguments);
    if (!command) {
        std::fputs(velunor::helpText, stderr);
        return static_cast<int>(velunor::fail(command.error().description, AgentExit::usage));
    }
    return static_cast<int>(run(*command));
}
