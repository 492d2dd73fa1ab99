#include "tests/support/files.h"

#include <fstream>
#include <sstream>
#include <stdexcept>

namespace velunor::testing {

std::string readFile(const std::filesystem::path& path) {
    const std::ifstream stream(path, std::ios::binary);
    // Unlike an iterator it does not throw where a process ends whose file is being read.
    std::ostringstream text;
    text << stream.rdbuf();
    return text.str();
}

void writeFile(const std::filesystem::path& path, std::string_view content) {
    std::filesystem::create_directories(path.parent_path());
    std::ofstream stream(path, std::ios::binary | std::ios::trunc);
    stream.write(content.data(), static_cast<std::streamsize>(content.size()));
    stream.close();
    if (!stream) {
        throw std::runtime_error("cannot write " + path.string());
    }
}

}  // namespace velunor::testing
