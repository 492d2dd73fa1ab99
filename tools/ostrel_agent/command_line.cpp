#include "tools/ostrel_agent/command_line.h"

#include <charconv>

namespace velunor {

namespace {

/// Walks over options; a value follows its option.
class Options {
  public:
    explicit Options(const std::vector<std::string>& arguments) : arguments_(arguments) {}

    /// The next argument, or none at the end.
    std::optional<std::string> next() {
        if (position_ == arguments_.size()) {
            return std::nullopt;
        }
        return arguments_[position_++];
    }

    [[nodiscard]] std::vector<std::string> rest() const {
        return {arguments_.begin() + static_cast<std::ptrdiff_t>(position_), arguments_.end()};
    }

  private:
    const std::vector<std::string>& arguments_;
    std::size_t position_ = 1;
};

std::optional<std::chrono::seconds> parseSeconds(const std::string& text) {
    constexpr int longest = 7 * 24 * 3600;
    int value = 0;
    const char* end = text.data() + text.size();
    const auto [stop, error] = std::from_chars(text.data(), end, value);
    if (error != std::errc() || stop != end || value < 1 || value > longest) {
        return std::nullopt;
    }
    return std::chrono::seconds(value);
}

Expected<Command> parseServe(Options options) {
    ServeCommand command;
    while (const auto option = options.next()) {
        if (*option == "--once") {
            command.once = true;
        } else if (*option == "--reply") {
            const auto reply = options.next();
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

Expected<Command> parsePrompt(Options options) {
    constexpr std::size_t promptArguments = 6;
    PromptCommand command;
    while (const auto option = options.next()) {
        if (*option == "--") {
            command.arguments = options.rest();
            if (command.arguments.size() != promptArguments) {
                return Error{"the prompt takes six arguments after --"};
            }
            return command;
        }
        if (*option == "--help") {
            return HelpCommand{};
        }
        const auto value = options.next();
        if (!value) {
            return Error{*option + " needs a value"};
        }
        if (*option == "--timeout") {
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

Expected<Command> parseCommandLine(const std::vector<std::string>& arguments) {
    if (arguments.empty()) {
        return Error{"no command given"};
    }
    const std::string& verb = arguments.front();
    if (verb == "serve") {
        return parseServe(Options(arguments));
    }
    if (verb == "prompt") {
        return parsePrompt(Options(arguments));
    }
    if (verb == "--help" || verb == "help") {
        return HelpCommand{};
    }
    if (verb == "--version") {
        return VersionCommand{};
    }
    return Error{"unknown command " + verb};
}

}  // namespace velunor
