#include "prompt/os_update_input.h"

#include <charconv>

#include "platform/fatal_stop.h"

namespace velunor {
namespace {

constexpr std::size_t fewestArguments = 5;
constexpr std::int64_t defaultTimer = 15;
constexpr std::int64_t unknownPostponeCount = -1;

const std::string& argument(std::span<const std::string> arguments, std::size_t index) {
    if (index >= arguments.size()) {
        fatalStop();
    }
    return arguments[index];
}

}  // namespace

std::string_view description(UpdateType type) {
    return type == UpdateType::withCredentials ? "With Credentials" : "Without Credentials";
}

std::optional<std::int64_t> parseInteger(std::string_view text) {
    // from_chars() knows no plus sign.
    if (text.starts_with('+') && !text.starts_with("+-")) {
        text.remove_prefix(1);
    }
    const char* const end = text.data() + text.size();
    std::int64_t value = 0;
    const auto [stop, error] = std::from_chars(text.data(), end, value);
    return error == std::errc() && stop == end ? std::optional(value) : std::nullopt;
}

OSUpdateInput readPromptData(std::span<const std::string> arguments, SystemLog& log,
                             ProcessExit& processExit) {
    if (arguments.size() < fewestArguments) {
        log.write("Args are less");
        processExit.exit(1);
    }
    OSUpdateInput input;
    input.updateType = argument(arguments, 1) == "OSUpdateWithCred"
                           ? UpdateType::withCredentials
                           : UpdateType::withoutCredentials;
    input.updateName = argument(arguments, 2);
    input.defaultToProceed = argument(arguments, 3) != "false";
    input.timer = parseInteger(argument(arguments, 4)).value_or(defaultTimer);
    input.isPosponeButtonDisabled = argument(arguments, 5) != "false";
    input.remainingPostponeCount =
        parseInteger(argument(arguments, 6)).value_or(unknownPostponeCount);
    return input;
}

}  // namespace velunor
