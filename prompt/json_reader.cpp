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
        if (depth > deepestNesting || rest_.empty()) {
            return std::nullopt;
        }
        switch (rest_.front()) {
            case '{':
                return parseObject(depth);
            case '[':
                return parseArray(depth);
            case '"': {
                auto text = parseString();
                return text ? std::optional(JsonValue{std::move(*text)}) : std::nullopt;
            }
            case 't':
                return accept("true") ? std::optional(JsonValue{JsonValue::Boolean{}})
                                      : std::nullopt;
            case 'f':
                return accept("false") ? std::optional(JsonValue{JsonValue::Boolean{}})
                                       : std::nullopt;
            case 'n':
                return accept("null") ? std::optional(JsonValue{JsonValue::Null{}}) : std::nullopt;
            default:
                return acceptNumber() ? std::optional(JsonValue{JsonValue::Number{}})
                                      : std::nullopt;
        }
    }

    std::optional<JsonValue> parseObject(int depth) {
        JsonObject members;
        accept("{");
        if (acceptAfterBlanks("}")) {
            return JsonValue{std::move(members)};
        }
        do {
            skipBlanks();
            auto key = parseString();
            if (!key || !acceptAfterBlanks(":")) {
                return std::nullopt;
            }
            auto value = parseValue(depth + 1);
            if (!value) {
                return std::nullopt;
            }
            members.try_emplace(std::string(key->reveal()), std::move(*value));
        } while (acceptAfterBlanks(","));
        return acceptAfterBlanks("}") ? std::optional(JsonValue{std::move(members)}) : std::nullopt;
    }

    std::optional<JsonValue> parseArray(int depth) {
        accept("[");
        if (acceptAfterBlanks("]")) {
            return JsonValue{JsonValue::Array{}};
        }
        do {
            if (!parseValue(depth + 1)) {
                return std::nullopt;
            }
        } while (acceptAfterBlanks(","));
        return acceptAfterBlanks("]") ? std::optional(JsonValue{JsonValue::Array{}}) : std::nullopt;
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
            return parseUnicodeEscape(text);
        }
        const auto index = rest_.empty() ? std::string_view::npos : letters.find(rest_.front());
        if (index == std::string_view::npos) {
            return false;
        }
        text.append(meanings.substr(index, 1));
        rest_.remove_prefix(1);
        return true;
    }

    bool parseUnicodeEscape(Secret& text) {
        const auto code = takeEscapedCodePoint(rest_);
        if (code) {
            text.append(encodedUtf8(*code));
        }
        return code.has_value();
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
