#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace velunor {

/// How the entry of one account is found. A server compares loosely, without regard to case or
/// blanks at the end for instance, so that what it has found is compared again.
struct AccountFilter {
    /// With the name in it, escaped so that nothing in it is taken for another filter.
    std::string text;
    /// The attributes that are compared with something that holds the name.
    std::vector<std::string> attributes;
    /// What is in one of them, byte for byte, where the entry is the account's.
    std::vector<std::string> names;
};

/// The filter that `pattern` describes, with each "%u" replaced by `name`; none where it compares
/// no attribute with the name; also when the name is empty or memory is short.
[[nodiscard]] std::optional<AccountFilter> accountFilter(std::string_view pattern,
                                                         std::string_view name);

}  // namespace velunor
