#include "tests/desktops/limits.h"

#include <algorithm>
#include <vector>

namespace velunor::testing {
namespace {

const std::vector<Limit>& limits() {
    static const std::vector<Limit> all{
        {"metacity", "Attention", "the desktop does not hear of it",
         "Metacity marks a window that asks for attention only where another one covers it."}};
    return all;
}

}  // namespace

std::optional<Limit> limitOf(const std::string& desktop, const std::string& row) {
    const auto found = std::ranges::find_if(
        limits(), [&](const Limit& limit) { return limit.desktop == desktop && limit.row == row; });
    return found == limits().end() ? std::nullopt : std::optional(*found);
}

}  // namespace velunor::testing
