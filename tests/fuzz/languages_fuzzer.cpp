// The session's languages: what becomes a part of a file's name leads nowhere else, none is looked
// for twice, and there are no more than the variables can name.
#include <algorithm>
#include <set>

#include "agent/linux/texts.h"
#include "tests/fuzz/fuzzing.h"

namespace velunor {

void fuzz(std::string_view input) {
    std::vector<std::string> variables = partsOf(input);
    variables.resize(4);
    const auto languages =
        preferredLanguages(variables[0], variables[1], variables[2], variables[3]);
    const std::set<std::string> once(languages.begin(), languages.end());
    require(once.size() == languages.size());
    // Each part of a name, its script and a second language of its own at most.
    require(languages.size() <= 3 * (input.size() + 4));
    for (const std::string& language : languages) {
        require(!language.empty());
        require(std::ranges::all_of(language, [](char character) {
            return (character >= 'a' && character <= 'z') ||
                   (character >= 'A' && character <= 'Z') ||
                   (character >= '0' && character <= '9') || character == '_';
        }));
    }
}

}  // namespace velunor
