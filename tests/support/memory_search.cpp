#include "tests/support/memory_search.h"

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <cstdint>
#include <fstream>
#include <random>
#include <sstream>
#include <string>

namespace velunor::testing {

namespace {

constexpr std::size_t chunkSize = std::size_t{1} << 16U;
constexpr unsigned char mask = 0x80;

/// Where the memory is looked at; what it holds for that moment is not counted.
std::array<char, chunkSize>& window() {
    static std::array<char, chunkSize> bytes{};
    return bytes;
}

int occurrencesIn(int memory, std::uintptr_t begin, std::uintptr_t end, const Needle& needle) {
    const auto own = reinterpret_cast<std::uintptr_t>(window().data());
    int occurrences = 0;
    for (std::uintptr_t address = begin; address < end; address += chunkSize - Needle::size) {
        const ssize_t count = pread(memory, window().data(), std::min(chunkSize, end - address),
                                    static_cast<off_t>(address));
        for (ssize_t index = 0; index + static_cast<ssize_t>(Needle::size) <= count; ++index) {
            const std::uintptr_t place = address + static_cast<std::uintptr_t>(index);
            const bool isOwn = place + Needle::size > own && place < own + chunkSize;
            if (!isOwn && needle.isAt(window().data() + index)) {
                ++occurrences;
            }
        }
    }
    return occurrences;
}

}  // namespace

Needle::Needle() {
    std::random_device random;
    std::uniform_int_distribution<int> letter('a', 'z');
    for (unsigned char& byte : masked_) {
        byte = static_cast<unsigned char>(static_cast<unsigned>(letter(random)) | mask);
    }
}

Secret Needle::password() const {
    Secret secret;
    for (const unsigned char byte : masked_) {
        const char letter = static_cast<char>(byte & ~mask);
        secret.append({&letter, 1});
    }
    return secret;
}

bool Needle::isAt(const char* bytes) const {
    for (std::size_t index = 0; index < size; ++index) {
        if ((static_cast<unsigned char>(bytes[index]) | mask) != masked_[index] ||
            (static_cast<unsigned char>(bytes[index]) & mask) != 0) {
            return false;
        }
    }
    return true;
}

int occurrencesOf(const Needle& needle) {
    constexpr std::uintptr_t largest = std::uintptr_t{1} << 30U;
    const int memory = open("/proc/self/mem", O_RDONLY | O_CLOEXEC);
    std::ifstream maps("/proc/self/maps");
    int occurrences = 0;
    for (std::string line; std::getline(maps, line);) {
        std::istringstream fields(line);
        std::uintptr_t begin = 0;
        std::uintptr_t end = 0;
        char dash = 0;
        std::string access;
        fields >> std::hex >> begin >> dash >> end >> access;
        // A sanitizer reserves address space beyond all measure, and writes no program's data
        // there.
        if (access.starts_with("rw") && end - begin <= largest) {
            occurrences += occurrencesIn(memory, begin, end, needle);
        }
    }
    close(memory);
    window().fill('\0');
    return occurrences;
}

}  // namespace velunor::testing
