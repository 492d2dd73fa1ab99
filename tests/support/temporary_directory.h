#pragma once

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <stdexcept>
#include <string>
#include <system_error>

namespace velunor::testing {

/// A directory of its own for one test, removed with everything in it at the end.
class TemporaryDirectory {
  public:
    /// Throws when the directory cannot be made.
    TemporaryDirectory() {
        std::string name = (std::filesystem::temp_directory_path() / "velunor-XXXXXX").string();
        if (mkdtemp(name.data()) == nullptr) {
            throw std::runtime_error("no temporary directory at " + name);
        }
        path_ = name;
    }
    TemporaryDirectory(const TemporaryDirectory&) = delete;
    TemporaryDirectory& operator=(const TemporaryDirectory&) = delete;
    ~TemporaryDirectory() {
        std::error_code ignored;
        std::filesystem::remove_all(path_, ignored);
    }

    [[nodiscard]] const std::filesystem::path& path() const { return path_; }
    /// The place of a file in the directory.
    [[nodiscard]] std::string file(const std::string& name) const { return path_ / name; }

    void write(const std::string& name, const std::string& content) const {
        std::ofstream(file(name), std::ios::binary) << content;
    }

    [[nodiscard]] std::string read(const std::string& name) const {
        std::ifstream in(file(name), std::ios::binary);
        return {std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>()};
    }

  private:
    std::filesystem::path path_;
};

}  // namespace velunor::testing
