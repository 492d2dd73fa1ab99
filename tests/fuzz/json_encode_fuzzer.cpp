// An answer with any name and password: it arrives as it was, or, where one of them is not UTF-8,
// is refused.
#include "tests/fuzz/json_check.h"

namespace velunor {

void fuzz(std::string_view input) {
    const std::vector<std::string> parts = partsOf(input);
    const auto part = [&](std::size_t index) {
        return index < parts.size() ? std::optional(parts[index]) : std::nullopt;
    };
    const auto name = part(1);
    const auto typed = part(2);
    OSUpdateNotificationResponse response{Postponse{name}};
    if (parts.front() != "postponse") {
        response.answer = Proceed{name, typed ? std::optional(Secret(*typed)) : std::nullopt};
    }
    const bool tellsTyped = typed && parts.front() != "postponse";
    if (!isValidUtf8(name.value_or("")) || (tellsTyped && !isValidUtf8(*typed))) {
        require(!encodeJson(response).has_value());
        return;
    }
    const auto decoded = decodeJson(checkedJson(response));
    require(decoded->description() == response.description());
    if (const auto* proceed = std::get_if<Proceed>(&decoded->answer)) {
        require(proceed->userName == name && proceed->passwd.has_value() == typed.has_value());
        require(!typed || proceed->passwd->reveal() == *typed);
    } else {
        require(std::get<Postponse>(decoded->answer).userName == name);
    }
}

}  // namespace velunor
