// The prompt's arguments: each field says what its argument says, as the C library reads numbers
// too, and no text makes another of them.
#include <algorithm>
#include <cerrno>
#include <cstdlib>

#include "prompt/os_update_input.h"
#include "tests/fuzz/fuzzing.h"

namespace velunor {
namespace {

class NoLog final : public SystemLog {
  public:
    void write(std::string_view /*message*/) override {}
};

/// There are always enough arguments.
class NoExit final : public ProcessExit {
  public:
    [[noreturn]] void exit(int /*status*/) override { std::abort(); }
};

/// One optional sign and digits, within 64 bits.
std::optional<std::int64_t> number(const std::string& text) {
    const std::string digits = text.substr(text.find_first_of("+-") == 0 ? 1 : 0);
    if (digits.empty() || digits.find_first_not_of("0123456789") != std::string::npos) {
        return std::nullopt;
    }
    errno = 0;
    const std::int64_t value = std::strtoll(text.c_str(), nullptr, 10);
    return errno == 0 ? std::optional(value) : std::nullopt;
}

}  // namespace

void fuzz(std::string_view input) {
    constexpr std::size_t fewest = 7;
    std::vector<std::string> arguments = partsOf(input);
    arguments.insert(arguments.begin(), "VelunorOSUpdate");
    arguments.resize(std::max(arguments.size(), fewest));
    NoLog log;
    NoExit processExit;
    const OSUpdateInput expected{.updateType = arguments[1] == "OSUpdateWithCred"
                                                   ? UpdateType::withCredentials
                                                   : UpdateType::withoutCredentials,
                                 .updateName = arguments[2],
                                 .defaultToProceed = arguments[3] != "false",
                                 .timer = number(arguments[4]).value_or(15),
                                 .isPosponeButtonDisabled = arguments[5] != "false",
                                 .remainingPostponeCount = number(arguments[6]).value_or(-1)};
    require(readPromptData(arguments, log, processExit) == expected);
    for (const std::string& argument : arguments) {
        require(parseInteger(argument) == number(argument));
    }
}

}  // namespace velunor
