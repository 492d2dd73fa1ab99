#include "tools/ostrel_agent/command_line.h"

#include <charconv>
#include <cstdio>
#include <span>

#include "platform/text.h"

namespace velunor {
namespace {

using Arguments = std::span<const std::string>;

/// Takes the first argument off, or none at the end.
std::optional<std::string> take(Arguments& arguments) {
    if (arguments.empty()) {
        return std::nullopt;
    }
    const std::string& first = arguments.front();
    arguments = arguments.subspan(1);
    return first;
}

std::optional<std::chrono::seconds> parseSeconds(const std::string& text) {
    constexpr int longest = 7 * 24 * 3600;
    // What is no number, or too great for one, leaves it as it is.
    int value = 0;
    const char* end = text.data() + text.size();
    if (std::from_chars(text.data(), end, value).ptr != end || value < 1 || value > longest) {
        return std::nullopt;
    }
    return std::chrono::seconds(value);
}

Expected<Command> parseServe(Arguments arguments) {
    ServeCommand command;
    while (const auto option = take(arguments)) {
        if (*option == "--once") {
            command.once = true;
        } else if (*option == "--reply") {
            const auto reply = take(arguments);
            if (!reply) {
                return Error{"--reply needs a text"};
            }
            command.reply = *reply;
        } else if (*option == "--help") {
            return HelpCommand{};
        } else {
            return Error{"unknown argument " + *option};
        }
    }
    return command;
}

Expected<Command> parsePrompt(Arguments arguments) {
    constexpr std::size_t promptArguments = 6;
    PromptCommand command;
    while (const auto option = take(arguments)) {
        if (*option == "--") {
            command.arguments.assign(arguments.begin(), arguments.end());
            if (command.arguments.size() != promptArguments) {
                return Error{"the prompt takes six arguments after --"};
            }
            return command;
        }
        if (*option == "--help") {
            return HelpCommand{};
        }
        if (*option == "--active") {
            command.user = ActiveUser();
            continue;
        }
        const auto value = take(arguments);
        if (!value) {
            return Error{*option + " needs a value"};
        }
        if (*option == "--user") {
            command.user = *value;
        } else if (*option == "--timeout") {
            command.timeout = parseSeconds(*value);
            if (!command.timeout) {
                return Error{"--timeout takes a whole number of seconds up to a week"};
            }
        } else if (*option == "--program") {
            command.program = *value;
        } else {
            return Error{"unknown argument " + *option};
        }
    }
    return Error{"the prompt's six arguments are missing after --"};
}

}  // namespace

void complain(const std::string& text) {
    std::fprintf(stderr, "ostrel-agent: %s\n", inOneLine(text).c_str());
}

AgentExit fail(const std::string& text, AgentExit status) {
    complain(text);
    return status;
}

Expected<Command> parseCommandLine(const std::vector<std::string>& arguments) {
    Arguments rest(arguments);
    const auto verb = take(rest);
    if (!verb) {
        return Error{"no command given"};
    }
    if (*verb == "serve") {
        return parseServe(rest);
    }
    if (*verb == "prompt") {
        return parsePrompt(rest);
    }
    if (*verb == "--help" || *verb == "help") {
        return HelpCommand{};
    }
    if (*verb == "--version") {
        return VersionCommand{};
    }
    return Error{"unknown command " + *verb};
}

}  // namespace velunor
