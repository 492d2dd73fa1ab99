#include "platform/property_list/openstep_property_list.h"

#include <cstdint>
#include <optional>
#include <utility>

#include "platform/property_list/property_list_limits.h"
#include "platform/text.h"

namespace velunor {

namespace {

constexpr bool isBare(char character) {
    return (character >= 'a' && character <= 'z') || (character >= 'A' && character <= 'Z') ||
           (character >= '0' && character <= '9') ||
           std::string_view("_$/:.-").find(character) != std::string_view::npos;
}

/// A recursive-descent parser. Each operation consumes what it accepts; the first error stops all.
class TextParser {
  public:
    explicit TextParser(std::string_view text) : text_(text) {}

    Expected<PropertyListValue> whole() {
        if (atEnd()) {
            return Error{"Property list is empty"};
        }
        auto value = parseValue(0);
        if (value && !atEnd()) {
            value = pairsWithoutBraces();
        }
        if (value && atEnd() && !error_) {
            return std::move(*value);
        }
        return Error{error_.value_or("Unexpected text after the property list") + " on line " +
                     std::to_string(line())};
    }

  private:
    std::nullopt_t fail(const char* reason) {
        if (!error_) {
            error_ = reason;
            errorPosition_ = position_;
        }
        return std::nullopt;
    }

    [[nodiscard]] std::size_t line() const {
        const auto before = text_.substr(0, error_ ? errorPosition_ : position_);
        std::size_t count = 1;
        for (const char character : before) {
            count += character == '\n' ? 1 : 0;
        }
        return count;
    }

    [[nodiscard]] std::string_view rest() const { return text_.substr(position_); }

    bool skipThrough(std::string_view terminator) {
        const auto found = text_.find(terminator, position_);
        const bool isThere = found != std::string_view::npos;
        position_ = isThere ? found + terminator.size() : text_.size();
        return isThere;
    }

    void skipBlanks() {
        while (position_ < text_.size()) {
            const auto ahead = rest();
            if (ahead.starts_with("//")) {
                static_cast<void>(skipThrough("\n"));
            } else if (ahead.starts_with("/*")) {
                position_ += 2;
                if (!skipThrough("*/")) {
                    fail("Comment has no end");
                }
            } else if (std::string_view(" \t\r\n\v\f").find(ahead.front()) !=
                       std::string_view::npos) {
                ++position_;
            } else {
                return;
            }
        }
    }

    bool atEnd() {
        skipBlanks();
        return position_ == text_.size();
    }

    bool accept(char character) {
        if (atEnd() || text_[position_] != character) {
            return false;
        }
        ++position_;
        return true;
    }

    std::optional<PropertyListValue> parseValue(int depth) {
        if (atEnd()) {
            return fail("Property list ends too early");
        }
        if (depth > deepestPropertyList) {
            return fail("Property list is nested too deeply");
        }
        if (++values_ > mostPropertyListValues) {
            return fail("Property list holds too many values");
        }
        if (accept('{')) {
            auto members = parsePairs(depth);
            if (members && !accept('}')) {
                return fail("Expected }");
            }
            return wrapped(std::move(members));
        }
        if (accept('(')) {
            return parseArray(depth);
        }
        if (accept('<')) {
            return parseData();
        }
        return wrapped(parseText());
    }

    template <class Content>
    static std::optional<PropertyListValue> wrapped(std::optional<Content> content) {
        return content ? std::optional(PropertyListValue{std::move(*content)}) : std::nullopt;
    }

    /// key = value; pairs up to a closing brace or the end.
    std::optional<PropertyListDictionary> parsePairs(int depth) {
        PropertyListDictionary members;
        while (!atEnd() && text_[position_] != '}') {
            auto key = parseText();
            if (!key) {
                return std::nullopt;
            }
            // A key alone stands for itself.
            std::optional<PropertyListValue> value = PropertyListValue{*key};
            if (accept('=')) {
                value = parseValue(depth + 1);
            } else if (++values_ > mostPropertyListValues) {
                return fail("Property list holds too many values");
            }
            if (!value) {
                return std::nullopt;
            }
            members.insert_or_assign(std::move(*key), std::move(*value));
            if (!accept(';') && !(atEnd() || text_[position_] == '}')) {
                return fail("Expected ;");
            }
        }
        return members;
    }

    std::optional<PropertyListValue> pairsWithoutBraces() {
        position_ = 0;
        return wrapped(parsePairs(0));
    }

    std::optional<PropertyListValue> parseArray(int depth) {
        PropertyListArray elements;
        while (!accept(')')) {
            auto element = parseValue(depth + 1);
            if (!element) {
                return std::nullopt;
            }
            elements.push_back(std::move(*element));
            if (!accept(',') && (atEnd() || text_[position_] != ')')) {
                return fail("Expected , or )");
            }
        }
        return PropertyListValue{std::move(elements)};
    }

    std::optional<PropertyListValue> parseData() {
        PropertyListData data;
        while (!accept('>')) {
            const auto high = hexDigit();
            const auto low = high ? hexDigit() : std::nullopt;
            if (!low) {
                return fail("Expected pairs of hexadecimal digits");
            }
            data.push_back(static_cast<std::byte>(*high * 16 + *low));
        }
        return PropertyListValue{std::move(data)};
    }

    std::optional<std::uint32_t> hexDigit() {
        constexpr std::string_view digits = "0123456789abcdef0123456789ABCDEF";
        const auto found =
            position_ < text_.size() ? digits.find(text_[position_]) : std::string_view::npos;
        if (found == std::string_view::npos) {
            return std::nullopt;
        }
        ++position_;
        return static_cast<std::uint32_t>(found % 16);
    }

    std::optional<std::string> parseText() {
        for (const char quote : {'"', '\''}) {
            if (accept(quote)) {
                return parseQuoted(quote);
            }
        }
        std::string text;
        while (position_ < text_.size() && isBare(text_[position_])) {
            text += text_[position_++];
        }
        if (text.empty()) {
            return fail("Expected a value");
        }
        return text;
    }

    std::optional<std::string> parseQuoted(char quote) {
        std::string text;
        while (position_ < text_.size()) {
            const char character = text_[position_++];
            if (character == quote) {
                return text;
            }
            if (character != '\\') {
                text += character;
            } else if (!parseEscape(text)) {
                return fail("Unknown escape in a text");
            }
        }
        return fail("Text has no closing quotation mark");
    }

    bool parseEscape(std::string& out) {
        constexpr std::string_view letters = "abfnrtv\"'\\\n";
        constexpr std::string_view meanings = "\a\b\f\n\r\t\v\"'\\\n";
        if (position_ == text_.size()) {
            return false;
        }
        const char letter = text_[position_];
        if (letter == 'U' || letter == 'u') {
            ++position_;
            return parseUnicodeEscape(out);
        }
        if (letter >= '0' && letter <= '7') {
            return parseOctalEscape(out);
        }
        const auto found = letters.find(letter);
        // A sign that needs no escape stands for itself.
        out += found == std::string_view::npos ? letter : meanings[found];
        ++position_;
        return true;
    }

    bool parseOctalEscape(std::string& out) {
        constexpr char32_t largest = 0xFF;
        char32_t code = 0;
        for (int count = 0; count < 3 && position_ < text_.size() && text_[position_] >= '0' &&
                            text_[position_] <= '7';
             ++count) {
            code = code * 8 + static_cast<char32_t>(text_[position_++] - '0');
        }
        out += encodedUtf8(code);
        return code <= largest;
    }

    bool parseUnicodeEscape(std::string& out) {
        std::string_view ahead = rest();
        const auto code = takeEscapedCodePoint(ahead, "Uu");
        position_ = text_.size() - ahead.size();
        if (code) {
            out += encodedUtf8(*code);
        }
        return code.has_value();
    }

    std::string_view text_;
    std::size_t position_ = 0;
    std::size_t values_ = 0;
    std::optional<std::string> error_;
    std::size_t errorPosition_ = 0;
};

}  // namespace

Expected<PropertyListValue> parseTextPropertyList(std::string_view text) {
    if (!isValidUtf8(text)) {
        return Error{"Property list is not valid UTF-8"};
    }
    return TextParser(text).whole();
}

}  // namespace velunor
