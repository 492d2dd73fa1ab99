#include "platform/file.h"

#include <array>
#include <cerrno>
#include <cstdio>
#include <filesystem>
#include <system_error>

#include "platform/owned.h"

namespace velunor {
namespace {

Error errorOf(int number) {
    return {std::generic_category().message(number)};
}

}  // namespace

bool fileExists(const std::string& path) {
    std::error_code ignored;
    return std::filesystem::exists(path, ignored);
}

Expected<std::vector<std::byte>> readWholeFile(const std::string& path) {
    std::error_code error;
    const auto status = std::filesystem::status(path, error);
    if (error) {
        return Error{error.message()};
    }
    // Opening a pipe would wait for its writer, so anything but a plain file is refused unopened.
    if (!std::filesystem::is_regular_file(status)) {
        return Error{"Not a regular file"};
    }
    const Owned<std::FILE, std::fclose> file(std::fopen(path.c_str(), "rbe"));
    if (!file) {
        return errorOf(errno);
    }
    std::vector<std::byte> bytes;
    std::array<std::byte, 65536> block{};
    while (const std::size_t count = std::fread(block.data(), 1, block.size(), file.get())) {
        if (bytes.size() + count > largestReadableFile) {
            return errorOf(EFBIG);
        }
        bytes.insert(bytes.end(), block.begin(),
                     block.begin() + static_cast<std::ptrdiff_t>(count));
    }
    if (std::ferror(file.get()) != 0) {
        return errorOf(errno);
    }
    return bytes;
}

}  // namespace velunor
