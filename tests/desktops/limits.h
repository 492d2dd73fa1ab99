#pragma once

#include <optional>
#include <string>
#include <vector>

namespace velunor::testing {

/// Something that the prompt cannot have on a desktop, whatever it does.
struct Limit {
    std::vector<std::string> desktops;
    std::string row;
    /// What is found there, word for word.
    std::string found;
    /// One sentence that says why.
    std::string reason;
};

/// The limit of a desktop in a row, if it has one.
[[nodiscard]] std::optional<Limit> limitOf(const std::string& desktop, const std::string& row);

}  // namespace velunor::testing
