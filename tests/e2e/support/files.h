#pragma once

#include <filesystem>
#include <string>
#include <string_view>

namespace velunor::e2e {

/// A directory of its own for one test, removed with everything in it at the end.
class TemporaryDirectory {
  public:
    /// Throws when the directory cannot be made.
    TemporaryDirectory();
    TemporaryDirectory(const TemporaryDirectory&) = delete;
    TemporaryDirectory& operator=(const TemporaryDirectory&) = delete;
    ~TemporaryDirectory();

    [[nodiscard]] const std::filesystem::path& path() const { return path_; }

  private:
    std::filesystem::path path_;
};

/// The whole file; empty when there is none.
[[nodiscard]] std::string readFile(const std::filesystem::path& path);

/// Writes the file anew, its directory included. Throws when that fails.
void writeFile(const std::filesystem::path& path, std::string_view content);

}  // namespace velunor::e2e
