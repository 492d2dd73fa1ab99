#include "tests/fuzz/fuzzing.h"

#include <sys/mman.h>
#include <unistd.h>

#include <cstddef>
#include <cstdint>
#include <cstdlib>

namespace velunor {

void require(bool condition) {
    if (!condition) {
        std::abort();
    }
}

std::vector<std::string> partsOf(std::string_view input) {
    std::vector<std::string> parts;
    for (std::size_t end = 0; (end = input.find('\0')) != std::string_view::npos;) {
        parts.emplace_back(input.substr(0, end));
        input.remove_prefix(end + 1);
    }
    parts.emplace_back(input);
    return parts;
}

bool isOneLine(std::string_view text) {
    const auto byteAt = [&](std::size_t index) {
        return index < text.size() ? static_cast<unsigned char>(text[index]) : 0U;
    };
    for (std::size_t index = 0; index < text.size(); ++index) {
        const std::string_view rest = text.substr(index);
        const unsigned second = byteAt(index + 1);
        const unsigned third = byteAt(index + 2);
        if (byteAt(index) < 0x20U || rest.front() == '\x7F' ||
            (rest.starts_with('\xC2') && second >= 0x80U && second < 0xA0U) ||
            rest.starts_with("\xD8\x9C") ||
            (rest.starts_with("\xE2\x80") &&
             (third == 0x8EU || third == 0x8FU || (third >= 0xA8U && third <= 0xAEU))) ||
            (rest.starts_with("\xE2\x81") && third >= 0xA6U && third <= 0xA9U)) {
            return false;
        }
    }
    return true;
}

int streamOf(std::string_view content) {
    static const int stream = memfd_create("input", MFD_CLOEXEC);
    require(ftruncate(stream, 0) == 0);
    require(pwrite(stream, content.data(), content.size(), 0) ==
            static_cast<ssize_t>(content.size()));
    require(lseek(stream, 0, SEEK_SET) == 0);
    return stream;
}

}  // namespace velunor

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    velunor::fuzz({reinterpret_cast<const char*>(data), size});
    return 0;
}
