#include "prompt/json_reader.h"

#include <utility>

#include "platform/text.h"

namespace velunor {
namespace {

constexpr int deepestNesting = 128;

constexpr bool isDigit(char character) {
    return character >= '0' && character <= '9';
}

/// A recursive-descent parser; each operation consumes what it accepts and answers false or none
/// at the first character that does not fit.
class Parser {
  public:
    explicit Parser(std::string_view text) : rest_(text) {}

    std::optional<JsonValue> whole() {
        auto value = parseValue(0);
        skipBlanks();
        return rest_.empty() ? std::move(value) : std::nullopt;
    }

  private:
    void skipBlanks() {
        const auto count = rest_.find_first_not_of(" \t\n\r");
        rest_.remove_prefix(count == std::string_view::npos ? rest_.size() : count);
    }

    bool accept(std::string_view token) {
        if (!rest_.starts_with(token)) {
            return false;
        }
        rest_.remove_prefix(token.size());
        return true;
    }

    bool acceptAfterBlanks(std::string_view token) {
        skipBlanks();
        return accept(token);
    }

    std::optional<JsonValue> parseValue(int depth) {
        skipBlanks();
        if (depth > deepestNesting) {
            return std::nullopt;
        }
        if (accept("{")) {
            return parseObject(depth + 1);
        }
        if (accept("[")) {
            return parseArray(depth + 1);
        }
        if (rest_.starts_with('"')) {
            auto text = parseString();
            return text ? std::optional(JsonValue{std::move(*text)}) : std::nullopt;
        }
        if (accept("null")) {
            return JsonValue{JsonValue::Null{}};
        }
        const bool isOther = accept("true") || accept("false") || acceptNumber();
        return isOther ? std::optional(JsonValue{JsonValue::Other{}}) : std::nullopt;
    }

    /// The rest of an object whose members are nested `depth` deep.
    std::optional<JsonValue> parseObject(int depth) {
        JsonObject members;
        if (acceptAfterBlanks("}")) {
            return JsonValue{std::move(members)};
        }
        do {
            skipBlanks();
            auto key = parseString();
            if (!key || !acceptAfterBlanks(":")) {
                return std::nullopt;
            }
            auto value = parseValue(depth);
            if (!value) {
                return std::nullopt;
            }
            members.try_emplace(std::string(key->reveal()), std::move(*value));
        } while (acceptAfterBlanks(","));
        return acceptAfterBlanks("}") ? std::optional(JsonValue{std::move(members)}) : std::nullopt;
    }

    /// Likewise of an array.
    std::optional<JsonValue> parseArray(int depth) {
        if (acceptAfterBlanks("]")) {
            return JsonValue{JsonValue::Other{}};
        }
        do {
            if (!parseValue(depth)) {
                return std::nullopt;
            }
        } while (acceptAfterBlanks(","));
        return acceptAfterBlanks("]") ? std::optional(JsonValue{JsonValue::Other{}}) : std::nullopt;
    }

    std::optional<Secret> parseString() {
        if (!accept("\"")) {
            return std::nullopt;
        }
        Secret text;
        while (!rest_.empty()) {
            const char character = rest_.front();
            if (static_cast<unsigned char>(character) < 0x20U) {
                return std::nullopt;
            }
            if (accept("\"")) {
                return text;
            }
            if (accept("\\")) {
                if (!parseEscape(text)) {
                    return std::nullopt;
                }
                continue;
            }
            text.append(rest_.substr(0, 1));
            rest_.remove_prefix(1);
        }
        return std::nullopt;
    }

    bool parseEscape(Secret& text) {
        constexpr std::string_view letters = "\"\\/bfnrt";
        constexpr std::string_view meanings = "\"\\/\b\f\n\r\t";
        if (accept("u")) {
            const auto code = takeEscapedCodePoint(rest_);
            if (code) {
                text.append(encodedUtf8(*code));
            }
            return code.has_value();
        }
        const auto index = rest_.empty() ? std::string_view::npos : letters.find(rest_.front());
        if (index == std::string_view::npos) {
            return false;
        }
        text.append(meanings.substr(index, 1));
        rest_.remove_prefix(1);
        return true;
    }

    bool acceptDigits() {
        const std::size_t before = rest_.size();
        while (!rest_.empty() && isDigit(rest_.front())) {
            rest_.remove_prefix(1);
        }
        return rest_.size() < before;
    }

    bool acceptNumber() {
        accept("-");
        if (!accept("0") && !acceptDigits()) {
            return false;
        }
        if (accept(".") && !acceptDigits()) {
            return false;
        }
        if (accept("e") || accept("E")) {
            if (!accept("+")) {
                accept("-");
            }
            return acceptDigits();
        }
        return true;
    }

    std::string_view rest_;
};

}  // namespace

std::optional<JsonValue> parseJson(std::string_view text) {
    return isValidUtf8(text) ? Parser(text).whole() : std::nullopt;
}

}  // namespace velunor
