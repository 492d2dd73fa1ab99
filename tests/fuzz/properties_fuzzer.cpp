// Properties: an accepted file, written anew from its pairs, gives the same pairs; an error names
// the file.
#include "agent/linux/texts.h"
#include "platform/text.h"
#include "tests/fuzz/fuzzing.h"

namespace velunor {
namespace {

std::string escaped(std::string_view text) {
    constexpr std::string_view controls = "\t\n\r\f";
    constexpr std::string_view letters = "tnrf";
    std::string out;
    for (const char character : text) {
        if (const auto index = controls.find(character); index != std::string_view::npos) {
            out += {'\\', letters[index]};
        } else if (std::string_view(" =:#!\\").find(character) != std::string_view::npos) {
            out += {'\\', character};
        } else {
            out += character;
        }
    }
    return out;
}

}  // namespace

void fuzz(std::string_view input) {
    const std::string file = "application_en.properties";
    const auto properties = parseProperties(input, file);
    if (!properties) {
        require(properties.error().description.starts_with(file + ":"));
        return;
    }
    // A first key may begin with what would be a byte-order mark there.
    std::string text = "#\n";
    for (const auto& [key, value] : *properties) {
        require(isValidUtf8(key) && isValidUtf8(value));
        text += escaped(key) + "=" + escaped(value) + "\n";
    }
    const auto again = parseProperties(text, file);
    require(again.has_value() && *again == *properties);
}

}  // namespace velunor
