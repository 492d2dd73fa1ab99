#include "agent/linux/properties.h"

#include <optional>
#include <utility>

#include "platform/text.h"

namespace velunor {
namespace {

constexpr std::string_view blanks = " \t\f";

std::string_view withoutLeadingBlanks(std::string_view text) {
    const auto first = text.find_first_not_of(blanks);
    return first == std::string_view::npos ? std::string_view() : text.substr(first);
}

/// The next physical line, without its end; consumed from `text`.
std::string_view takeLine(std::string_view& text) {
    const auto end = text.find_first_of("\r\n");
    const std::string_view line = text.substr(0, end);
    if (end == std::string_view::npos) {
        text = {};
    } else {
        const bool pair = text.substr(end).starts_with("\r\n");
        text.remove_prefix(end + (pair ? 2 : 1));
    }
    return line;
}

bool isContinued(std::string_view line) {
    const auto last = line.find_last_not_of('\\');
    const std::size_t slashes = line.size() - (last == std::string_view::npos ? 0 : last + 1);
    return slashes % 2 == 1;
}

std::optional<std::string> unescaped(std::string_view text) {
    constexpr std::string_view letters = "tnrf";
    constexpr std::string_view meanings = "\t\n\r\f";
    std::string out;
    while (!text.empty()) {
        const char character = text.front();
        text.remove_prefix(1);
        if (character != '\\' || text.empty()) {
            out += character;
            continue;
        }
        const char letter = text.front();
        text.remove_prefix(1);
        if (letter == 'u') {
            const auto code = takeEscapedCodePoint(text);
            if (!code) {
                return std::nullopt;
            }
            out += encodedUtf8(*code);
        } else if (const auto index = letters.find(letter); index != std::string_view::npos) {
            out += meanings[index];
        } else {
            out += letter;
        }
    }
    return out;
}

/// Where the key of a logical line ends: at the first blank, "=" or ":" that is not escaped.
std::size_t keyEnd(std::string_view line) {
    for (std::size_t index = 0; index < line.size(); ++index) {
        if (line[index] == '\\') {
            ++index;
        } else if (blanks.find(line[index]) != std::string_view::npos || line[index] == '=' ||
                   line[index] == ':') {
            return index;
        }
    }
    return line.size();
}

bool addPair(std::string_view line, Properties& properties) {
    const std::size_t end = keyEnd(line);
    auto key = unescaped(line.substr(0, end));
    std::string_view value = withoutLeadingBlanks(line.substr(end));
    if (value.starts_with('=') || value.starts_with(':')) {
        value = withoutLeadingBlanks(value.substr(1));
    }
    auto text = unescaped(value);
    if (!key || !text) {
        return false;
    }
    properties.insert_or_assign(std::move(*key), std::move(*text));
    return true;
}

}  // namespace

Expected<Properties> parseProperties(std::string_view text, const std::string& file) {
    if (!isValidUtf8(text)) {
        return Error{file + ": is not UTF-8"};
    }
    if (text.starts_with("\xEF\xBB\xBF")) {
        text.remove_prefix(3);
    }
    Properties properties;
    int number = 0;
    while (!text.empty()) {
        ++number;
        const int first = number;
        std::string line(withoutLeadingBlanks(takeLine(text)));
        if (line.empty() || line.front() == '#' || line.front() == '!') {
            continue;
        }
        while (isContinued(line)) {
            line.pop_back();
            ++number;
            line += withoutLeadingBlanks(takeLine(text));
        }
        if (!addPair(line, properties)) {
            return Error{file + ":" + std::to_string(first) + R"(: malformed "\u" escape)"};
        }
    }
    return properties;
}

}  // namespace velunor
