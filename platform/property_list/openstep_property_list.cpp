#include <algorithm>
#include <charconv>
#include <cstdint>
#include <string>
#include <utility>

#include "platform/property_list/property_list_forms.h"
#include "platform/text.h"

namespace velunor {
namespace {

constexpr std::string_view bareSigns =
    "abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789_$/:.-";
constexpr std::string_view blanks = " \t\r\n\v\f";

/// A recursive-descent parser. Each operation consumes what it accepts; the first error stops all.
class TextParser {
  public:
    explicit TextParser(std::string_view text) : text_(text), rest_(text) {}

    Expected<PropertyListValue> whole() {
        if (atEnd()) {
            return Error{"Property list is empty"};
        }
        auto value = parseValue(0);
        if (value && !atEnd()) {
            // What looked like a text is the first key of pairs without braces.
            rest_ = text_;
            value = wrapped(parsePairs(0));
        }
        if (value && !atEnd()) {
            fail("Unexpected text after the property list");
        }
        if (!error_.empty()) {
            return Error{error_};
        }
        return *std::move(value);
    }

  private:
    std::nullopt_t fail(const char* reason) {
        if (error_.empty()) {
            const auto before = text_.substr(0, text_.size() - rest_.size());
            const auto line = 1 + std::count(before.begin(), before.end(), '\n');
            error_ = std::string(reason) + " on line " + std::to_string(line);
        }
        return std::nullopt;
    }

    /// The next `count` bytes, or what is left of them.
    std::string_view take(std::size_t count) {
        const auto taken = rest_.substr(0, count);
        rest_.remove_prefix(taken.size());
        return taken;
    }

    bool skipThrough(std::string_view terminator) {
        const auto found = rest_.find(terminator);
        const bool isThere = found != std::string_view::npos;
        take(isThere ? found + terminator.size() : found);
        return isThere;
    }

    void skipBlanks() {
        while (!rest_.empty()) {
            if (rest_.starts_with("//")) {
                skipThrough("\n");
            } else if (rest_.starts_with("/*")) {
                take(2);
                if (!skipThrough("*/")) {
                    fail("Comment has no end");
                }
            } else if (blanks.find(rest_.front()) != std::string_view::npos) {
                take(1);
            } else {
                return;
            }
        }
    }

    bool atEnd() {
        skipBlanks();
        return rest_.empty();
    }

    bool isNext(char character) { return !atEnd() && rest_.front() == character; }

    bool accept(char character) {
        const bool isThere = isNext(character);
        take(isThere ? 1 : 0);
        return isThere;
    }

    std::optional<PropertyListValue> parseValue(std::size_t depth) {
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
        return content ? std::optional(PropertyListValue{*std::move(content)}) : std::nullopt;
    }

    /// key = value; pairs up to a closing brace or the end.
    std::optional<PropertyListDictionary> parsePairs(std::size_t depth) {
        PropertyListDictionary members;
        while (!atEnd() && !isNext('}')) {
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
            members.insert_or_assign(*std::move(key), *std::move(value));
            if (!accept(';') && !atEnd() && !isNext('}')) {
                return fail("Expected ;");
            }
        }
        return members;
    }

    std::optional<PropertyListValue> parseArray(std::size_t depth) {
        PropertyListArray elements;
        while (!accept(')')) {
            auto element = parseValue(depth + 1);
            if (!element) {
                return std::nullopt;
            }
            elements.push_back(*std::move(element));
            if (!accept(',') && !isNext(')')) {
                return fail("Expected , or )");
            }
        }
        return PropertyListValue{std::move(elements)};
    }

    std::optional<PropertyListValue> parseData() {
        PropertyListData data;
        while (!accept('>')) {
            const auto digits = rest_.substr(0, 2);
            std::uint8_t byte = 0;
            const char* end = digits.data() + digits.size();
            const auto [stop, error] = std::from_chars(digits.data(), end, byte, 16);
            if (digits.size() < 2 || stop != end) {
                return fail("Expected pairs of hexadecimal digits");
            }
            take(2);
            data.push_back(std::byte{byte});
        }
        return PropertyListValue{std::move(data)};
    }

    std::optional<std::string> parseText() {
        for (const char quote : {'"', '\''}) {
            if (accept(quote)) {
                return parseQuoted(quote);
            }
        }
        const auto text = take(rest_.find_first_not_of(bareSigns));
        if (text.empty()) {
            return fail("Expected a value");
        }
        return std::string(text);
    }

    std::optional<std::string> parseQuoted(char quote) {
        std::string text;
        while (!rest_.empty()) {
            const char character = take(1).front();
            if (character == quote) {
                return text.find('\0') == std::string::npos ? std::optional(std::move(text))
                                                            : fail("Text holds a NUL character");
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
        constexpr std::string_view letters = "abfnrtv";
        constexpr std::string_view meanings = "\a\b\f\n\r\t\v";
        if (rest_.empty()) {
            return false;
        }
        if (rest_.front() >= '0' && rest_.front() <= '7') {
            return parseOctalEscape(out);
        }
        const char letter = take(1).front();
        if (letter == 'U' || letter == 'u') {
            const auto code = takeEscapedCodePoint(rest_, "Uu");
            out += code ? encodedUtf8(*code) : "";
            return code.has_value();
        }
        const auto found = letters.find(letter);
        // A sign that needs no escape stands for itself.
        out += found == std::string_view::npos ? letter : meanings[found];
        return true;
    }

    bool parseOctalEscape(std::string& out) {
        const auto ahead = rest_.substr(0, 3);
        std::uint32_t code = 0;
        const auto [end, error] =
            std::from_chars(ahead.data(), ahead.data() + ahead.size(), code, 8);
        take(static_cast<std::size_t>(end - ahead.data()));
        out += encodedUtf8(code);
        return code <= 0xFF;
    }

    std::string_view text_;
    /// What is not consumed yet.
    std::string_view rest_;
    std::size_t values_ = 0;
    std::string error_;
};

}  // namespace

Expected<PropertyListValue> parseTextPropertyList(std::string_view text) {
    if (!isValidUtf8(text)) {
        return Error{"Property list is not valid UTF-8"};
    }
    if (text.find('\0') != std::string_view::npos) {
        return Error{"Property list holds a NUL character"};
    }
    return TextParser(text).whole();
}

}  // namespace velunor
