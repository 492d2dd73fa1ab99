// Texts in a log line: nothing in it steers a terminal, what is escaped once stays as it is, and a
// list reads back element by element, so that no element can pass for two.
#include <charconv>
#include <map>

#include "platform/text.h"
#include "tests/fuzz/fuzzing.h"

namespace velunor {
namespace {

/// Takes an escape, without its backslash, from the front of `rest`.
std::string takeEscape(std::string_view& rest) {
    static const std::map<char, char> letters{
        {'n', '\n'}, {'r', '\r'}, {'t', '\t'}, {'"', '"'}, {'\\', '\\'}};
    require(!rest.empty());
    const char letter = rest.front();
    rest.remove_prefix(1);
    if (letter != 'u') {
        require(letters.contains(letter));
        return {letters.at(letter)};
    }
    const std::size_t end = rest.find('}');
    std::uint32_t code = 0;
    require(rest.starts_with('{') && end != std::string_view::npos);
    require(std::from_chars(rest.data() + 1, rest.data() + end, code, 16).ptr == rest.data() + end);
    rest.remove_prefix(end + 1);
    return encodedUtf8(code);
}

/// The elements of a list in a log line.
std::vector<std::string> elementsOf(std::string_view list) {
    std::vector<std::string> elements;
    require(list.starts_with("[\"") && list.ends_with("\"]"));
    std::string_view rest = list.substr(1, list.size() - 2);
    while (!rest.empty()) {
        require(rest.starts_with('"'));
        rest.remove_prefix(1);
        std::string element;
        while (!rest.starts_with('"')) {
            const char character = rest.front();
            rest.remove_prefix(1);
            element += character == '\\' ? takeEscape(rest) : std::string(1, character);
        }
        rest.remove_prefix(1);
        elements.push_back(element);
        require(rest.empty() || rest.starts_with(", \""));
        rest.remove_prefix(rest.empty() ? 0 : 2);
    }
    return elements;
}

}  // namespace

void fuzz(std::string_view input) {
    for (const auto style : {EscapeStyle::log, EscapeStyle::listElement, EscapeStyle::json}) {
        const std::string line = inOneLine(input, style);
        require(isValidUtf8(line) && isOneLine(line));
        require(style == EscapeStyle::listElement || inOneLine(line, style) == line);
    }
    const std::vector<std::string> parts = partsOf(input);
    const std::string list = listDescription(parts);
    require(isOneLine(list));
    require(!isValidUtf8(input) || elementsOf(list) == parts);
}

}  // namespace velunor
