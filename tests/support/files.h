#pragma once

#include <filesystem>
#include <string>
#include <string_view>

namespace velunor::testing {

/// The whole file; empty when there is none.
[[nodiscard]] std::string readFile(const std::filesystem::path& path);

/// Writes the file anew, its directory included. Throws when that fails.
void writeFile(const std::filesystem::path& path, std::string_view content);

}  // namespace velunor::testing
