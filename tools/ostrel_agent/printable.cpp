#include "tools/ostrel_agent/printable.h"

#include <array>
#include <cstdio>

#include "platform/linux/log/system_log.h"
#include "prompt/os_update_notification_response.h"

namespace velunor {

namespace {

/// The code point that a character of two or three bytes stands for; 0 for any other. Only the
/// lengths that control characters beyond ASCII have.
unsigned codePointAt(std::string_view text) {
    const auto byte = [&](std::size_t index) {
        return index < text.size() ? static_cast<unsigned char>(text[index]) : 0U;
    };
    if ((byte(0) & 0xE0U) == 0xC0U) {
        return (byte(0) & 0x1FU) << 6U | (byte(1) & 0x3FU);
    }
    if ((byte(0) & 0xF0U) == 0xE0U) {
        return (byte(0) & 0x0FU) << 12U | (byte(1) & 0x3FU) << 6U | (byte(2) & 0x3FU);
    }
    return 0;
}

/// Controls of a terminal, line ends, and the marks that turn the direction of writing around.
bool isControl(unsigned code) {
    return (code >= 0x7FU && code < 0xA0U) || (code >= 0x2028U && code <= 0x202EU) ||
           (code >= 0x2066U && code <= 0x2069U);
}

std::string escapeOf(unsigned code) {
    std::array<char, 8> text{};
    static_cast<void>(std::snprintf(text.data(), text.size(), "\\u%04X", code));
    return text.data();
}

}  // namespace

std::string printableJson(std::string_view json) {
    std::string out;
    out.reserve(json.size());
    for (std::string_view rest = json; !rest.empty();) {
        const unsigned code = codePointAt(rest);
        const auto first = static_cast<unsigned char>(rest[0]);
        if (isControl(code)) {
            out += escapeOf(code);
            rest.remove_prefix(code < 0x800U ? 2 : 3);
            continue;
        }
        if (first == 0x7FU) {
            out += escapeOf(first);
        } else {
            // Well-formed JSON has bytes below the blank between its tokens alone.
            out += first < 0x20U ? ' ' : rest[0];
        }
        rest.remove_prefix(1);
    }
    return out;
}

std::string printableBody(std::string_view body) {
    return decodeJson(body) ? printableJson(body) : escapedForLog(body);
}

}  // namespace velunor
