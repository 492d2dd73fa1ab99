#pragma once

#include "platform/text.h"
#include "prompt/os_update_notification_response.h"
#include "tests/fuzz/fuzzing.h"

namespace velunor {

/// The JSON of an answer whose texts are UTF-8. It decodes to the same answer, also after the
/// launcher has made one line of it.
inline std::string checkedJson(const OSUpdateNotificationResponse& response) {
    const auto encoded = encodeJson(response);
    require(encoded.has_value());
    std::string json(encoded->reveal());
    require(isValidUtf8(json));
    const std::string line = inOneLine(json, EscapeStyle::json);
    require(isOneLine(line));
    for (const std::string& text : {json, line}) {
        const auto decoded = decodeJson(text);
        require(decoded.has_value() && decoded->answer.index() == response.answer.index());
        const auto again = encodeJson(*decoded);
        require(again.has_value() && again->reveal() == json);
    }
    return json;
}

}  // namespace velunor
