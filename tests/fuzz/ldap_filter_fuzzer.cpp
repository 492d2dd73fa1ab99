// A user name in a directory's filter: it stays one value, which the rules of filters turn back
// into the same bytes, and the filter's own parts stay as they were.
#include <charconv>

#include "tests/fuzz/fuzzing.h"
#include "tools/osupdate_checkpass/ldap/account_filter.h"

namespace velunor {
namespace {

/// What a server takes a value of a filter for (RFC 4515).
std::string unescaped(std::string_view value) {
    std::string bytes;
    while (!value.empty()) {
        require(std::string_view("()*\0", 4).find(value.front()) == std::string_view::npos);
        unsigned byte = static_cast<unsigned char>(value.front());
        if (value.front() == '\\') {
            require(value.size() >= 3 &&
                    std::from_chars(value.data() + 1, value.data() + 3, byte, 16).ptr ==
                        value.data() + 3);
            value.remove_prefix(2);
        }
        value.remove_prefix(1);
        bytes += static_cast<char>(byte);
    }
    return bytes;
}

}  // namespace

void fuzz(std::string_view input) {
    if (input.empty()) {
        return;
    }
    const std::string_view before = "(&(objectClass=person)(|(uid=";
    const std::string_view between = ")(mail=";
    const std::string_view after = "@example.org)))";
    const auto filter = accountFilter(
        std::string(before) + "%u" + std::string(between) + "%u" + std::string(after), input);
    require(filter.has_value() && filter->text.starts_with(before) &&
            filter->text.ends_with(after));
    const std::size_t rest = filter->text.size() - before.size() - between.size() - after.size();
    const std::string value = filter->text.substr(before.size(), rest / 2);
    require(filter->text ==
            std::string(before) + value + std::string(between) + value + std::string(after));
    require(unescaped(value) == input);
    const std::string name(input);
    require(filter->attributes == std::vector<std::string>{"uid", "mail"});
    require(filter->names == std::vector<std::string>{name, name + "@example.org"});
    // Any filter of an administrator's, about any name.
    const std::vector<std::string> parts = partsOf(input);
    if (const auto other = accountFilter(parts.front(), parts.back())) {
        require(!other->names.empty() && other->names.size() == other->attributes.size());
    }
}

}  // namespace velunor
