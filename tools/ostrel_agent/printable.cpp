#include "tools/ostrel_agent/printable.h"

#include <array>
#include <cstdio>
#include <variant>

#include "platform/linux/linux_system_log.h"
#include "prompt/os_update_notification_response.h"

namespace velunor {

namespace {

struct ControlCharacter {
    std::string_view bytes;
    std::string_view escape;
};

/// Line ends of Unicode and the marks that turn the direction of writing around.
constexpr std::array<ControlCharacter, 11> formatControls{{
    {"\u2028", "\\u2028"},
    {"\u2029", "\\u2029"},
    {"\u202A", "\\u202A"},
    {"\u202B", "\\u202B"},
    {"\u202C", "\\u202C"},
    {"\u202D", "\\u202D"},
    {"\u202E", "\\u202E"},
    {"\u2066", "\\u2066"},
    {"\u2067", "\\u2067"},
    {"\u2068", "\\u2068"},
    {"\u2069", "\\u2069"},
}};

std::string escapeOf(unsigned code) {
    std::array<char, 8> text{};
    static_cast<void>(std::snprintf(text.data(), text.size(), "\\u%04X", code));
    return text.data();
}

bool takeFormatControl(std::string_view& rest, std::string& out) {
    for (const auto& [bytes, escape] : formatControls) {
        if (rest.starts_with(bytes)) {
            out += escape;
            rest.remove_prefix(bytes.size());
            return true;
        }
    }
    return false;
}

}  // namespace

std::string printableJson(std::string_view json) {
    std::string out;
    out.reserve(json.size());
    for (std::string_view rest = json; !rest.empty();) {
        if (takeFormatControl(rest, out)) {
            continue;
        }
        const auto first = static_cast<unsigned char>(rest[0]);
        const auto second = rest.size() > 1 ? static_cast<unsigned char>(rest[1]) : 0U;
        if (first == 0xC2U && second < 0xA0U) {
            out += escapeOf(second);
            rest.remove_prefix(2);
            continue;
        }
        if (first < 0x20U) {
            // Well-formed JSON has these between its tokens alone.
            out += ' ';
        } else if (first == 0x7FU) {
            out += escapeOf(first);
        } else {
            out += rest[0];
        }
        rest.remove_prefix(1);
    }
    return out;
}

std::string printableBody(std::string_view body) {
    return std::holds_alternative<OSUpdateNotificationResponse>(decodeJson(body))
               ? printableJson(body)
               : escapedForLog(body);
}

}  // namespace velunor
