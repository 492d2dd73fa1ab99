#include "agent/linux/properties.h"

#include <algorithm>
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

/// The language of a locale name such as de_CH.UTF-8@euro: letters, digits, "-" and "_" only, so
/// that it cannot lead out of a directory.
std::string languageOf(std::string_view locale) {
    const std::string_view name = locale.substr(0, locale.find_first_of(".@"));
    const bool plain = std::all_of(name.begin(), name.end(), [](char character) {
        return (character >= 'a' && character <= 'z') || (character >= 'A' && character <= 'Z') ||
               (character >= '0' && character <= '9') || character == '_' || character == '-';
    });
    return plain ? std::string(name) : std::string();
}

void addLanguage(std::vector<std::string>& languages, const std::string& language) {
    for (std::string name = language; !name.empty();) {
        if (std::find(languages.begin(), languages.end(), name) == languages.end()) {
            languages.push_back(name);
        }
        const auto part = name.find_last_of("_-");
        name.resize(part == std::string::npos ? 0 : part);
    }
}

}  // namespace

PropertiesResult parseProperties(std::string_view text, const std::string& file) {
    if (!isValidUtf8(text)) {
        return PropertiesError{file + ": is not UTF-8"};
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
            return PropertiesError{file + ":" + std::to_string(first) +
                                   R"(: malformed "\u" escape)"};
        }
    }
    return properties;
}

std::vector<std::string> preferredLanguages(std::string_view language, std::string_view lcAll,
                                            std::string_view lcMessages, std::string_view lang) {
    const std::string_view locale = !lcAll.empty()        ? lcAll
                                    : !lcMessages.empty() ? lcMessages
                                                          : lang;
    const std::string own = languageOf(locale);
    std::vector<std::string> languages;
    // The standard locale speaks English whatever LANGUAGE asks for.
    if (own.empty() || own == "C" || own == "POSIX") {
        return languages;
    }
    while (!language.empty()) {
        const auto end = language.find(':');
        addLanguage(languages, languageOf(language.substr(0, end)));
        language = end == std::string_view::npos ? std::string_view() : language.substr(end + 1);
    }
    addLanguage(languages, own);
    return languages;
}

}  // namespace velunor
