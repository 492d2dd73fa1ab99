#include "agent/linux/language.h"

#include <algorithm>
#include <array>
#include <utility>

namespace velunor {
namespace {

/// Codes that older systems use, each with the one that the texts are kept under. "no" has no
/// written form of its own: its readers get Bokmål.
constexpr std::array<std::pair<std::string_view, std::string_view>, 3> renamed{
    {{"in", "id"}, {"iw", "he"}, {"no", "nb"}}};

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
    const std::size_t end = std::min(name.find('_'), name.size());
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

}  // namespace velunor
