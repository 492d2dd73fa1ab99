#pragma once

#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <variant>

#include "platform/secret.h"

namespace velunor {

struct JsonValue;

/// Members by key; of a key that stands twice the first one counts.
using JsonObject = std::map<std::string, JsonValue, std::less<>>;

/// A JSON value, as far as the answers need it: texts are kept as secrets because one of them may
/// be a password; of numbers, truth values and arrays nothing is kept.
struct JsonValue {
    struct Null {};
    struct Other {};
    std::variant<Null, Other, Secret, JsonObject> value;
};

/// Parses one JSON text (RFC 8259, UTF-8). None when it is malformed or nested too deeply.
[[nodiscard]] std::optional<JsonValue> parseJson(std::string_view text);

}  // namespace velunor
