// The launcher's arguments: a prompt gets the six that stand at the end, untouched, and a time-out
// within its limits; whatever is wrong is told.
#include "tests/fuzz/fuzzing.h"
#include "tools/ostrel_agent/command_line.h"

namespace velunor {

void fuzz(std::string_view input) {
    constexpr std::chrono::seconds week{7 * 24 * 3600};
    const std::vector<std::string> arguments = partsOf(input);
    const auto command = parseCommandLine(arguments);
    if (!command) {
        require(!command.error().description.empty());
        return;
    }
    const auto* prompt = std::get_if<PromptCommand>(&*command);
    if (prompt == nullptr) {
        return;
    }
    require(arguments.size() >= 8 && arguments.front() == "prompt");
    const std::vector<std::string> last(arguments.end() - 6, arguments.end());
    require(prompt->arguments == last && arguments[arguments.size() - 7] == "--");
    require(!prompt->timeout ||
            (*prompt->timeout >= std::chrono::seconds(1) && *prompt->timeout <= week));
}

}  // namespace velunor
