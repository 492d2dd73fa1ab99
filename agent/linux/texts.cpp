#include "agent/linux/texts.h"

#include <algorithm>
#include <array>
#include <cstdlib>
#include <iterator>
#include <optional>
#include <utility>

#include "platform/text.h"

namespace velunor {
namespace {

constexpr std::string_view blanks = " \t\f";

std::string_view environmentText(const char* name) {
    const char* value = std::getenv(name);
    return value == nullptr ? std::string_view() : value;
}

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
    const auto slashes =
        std::find_if(line.rbegin(), line.rend(), [](char character) { return character != '\\'; });
    return std::distance(line.rbegin(), slashes) % 2 == 1;
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

/// Codes that older systems use, each with the one that the texts are kept under. "no" has no
/// written form of its own: its readers get Bokmål.
constexpr auto renamed = std::to_array<std::pair<std::string_view, std::string_view>>(
    {{"in", "id"}, {"iw", "he"}, {"no", "nb"}});

bool isPlain(std::string_view name) {
    return std::all_of(name.begin(), name.end(), [](char character) {
        return (character >= 'a' && character <= 'z') || (character >= 'A' && character <= 'Z') ||
               (character >= '0' && character <= '9') || character == '_' || character == '-';
    });
}

/// The language of a locale name such as de_CH.UTF-8@euro: letters, digits and "_" only, so that it
/// cannot lead out of a directory.
std::string languageOf(std::string_view locale) {
    const std::string_view plain = locale.substr(0, locale.find_first_of(".@"));
    if (plain.empty() || !isPlain(plain)) {
        return {};
    }
    std::string name(plain);
    std::replace(name.begin(), name.end(), '-', '_');
    const std::size_t end = name.substr(0, name.find('_')).size();
    if (locale.ends_with("@latin")) {
        name.insert(end, "_Latn");
    }
    for (const auto& [old, current] : renamed) {
        if (std::string_view(name).substr(0, end) == old) {
            return name.replace(0, end, current);
        }
    }
    return name;
}

bool hasPart(std::string_view name, std::string_view part) {
    const auto found = name.find(part);
    return found != std::string_view::npos &&
           (found + part.size() == name.size() || name[found + part.size()] == '_');
}

/// The written form of Chinese for `name`: the script decides, or else the region.
std::string writtenChinese(std::string_view name) {
    const bool traditional =
        hasPart(name, "_Hant") ||
        (!hasPart(name, "_Hans") &&
         (hasPart(name, "_TW") || hasPart(name, "_HK") || hasPart(name, "_MO")));
    return traditional ? "zh_TW" : "zh_CN";
}

void addOnce(std::vector<std::string>& languages, const std::string& name) {
    if (std::find(languages.begin(), languages.end(), name) == languages.end()) {
        languages.push_back(name);
    }
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

std::vector<std::string> languageWithFallbacks(std::string_view locale) {
    const std::string language = languageOf(locale);
    std::vector<std::string> names;
    for (std::string name = language; !name.empty();) {
        if (name == "zh") {
            addOnce(names, writtenChinese(language));
        }
        addOnce(names, name);
        // Writers of Nynorsk read Bokmål more easily than English.
        if (name == "nn") {
            addOnce(names, "nb");
        }
        const auto part = name.rfind('_');
        name.resize(part == std::string::npos ? 0 : part);
    }
    return names;
}

std::vector<std::string> preferredLanguages(std::string_view language, std::string_view lcAll,
                                            std::string_view lcMessages, std::string_view lang) {
    const std::string_view locale = !lcAll.empty()        ? lcAll
                                    : !lcMessages.empty() ? lcMessages
                                                          : lang;
    const std::vector<std::string> own = languageWithFallbacks(locale);
    std::vector<std::string> languages;
    // The standard locale speaks English whatever LANGUAGE asks for.
    if (own.empty() || own.front() == "C" || own.front() == "POSIX") {
        return languages;
    }
    while (!language.empty()) {
        const auto end = language.find(':');
        for (const std::string& name : languageWithFallbacks(language.substr(0, end))) {
            addOnce(languages, name);
        }
        language = end == std::string_view::npos ? std::string_view() : language.substr(end + 1);
    }
    for (const std::string& name : own) {
        addOnce(languages, name);
    }
    return languages;
}

std::vector<std::string> sessionLanguages() {
    return preferredLanguages(environmentText("LANGUAGE"), environmentText("LC_ALL"),
                              environmentText("LC_MESSAGES"), environmentText("LANG"));
}

}  // namespace velunor
