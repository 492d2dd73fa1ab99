#include "platform/qt/password_field/secret_text.h"

#include <algorithm>
#include <array>
#include <utility>

#include "platform/posix/memory_lock.h"

namespace velunor {

namespace {

constexpr std::size_t firstCapacity = 256;
constexpr char32_t replacement = 0xFFFD;

void wipe(char32_t* text, std::size_t count) noexcept {
    velunor::wipe(reinterpret_cast<char*>(text), count * sizeof(char32_t));
}

/// Room for `count` code points that is not written to a disk. A password has to be taken all the
/// same where the system locks no more memory.
std::vector<char32_t> lockedStorage(std::size_t count) {
    std::vector<char32_t> storage(count);
    lockMemory(storage.data(), storage.size() * sizeof(char32_t));
    return storage;
}

std::ptrdiff_t offset(std::size_t index) {
    return static_cast<std::ptrdiff_t>(index);
}

/// Writes `codePoint` into `bytes` and gives back how many it takes.
std::size_t encode(char32_t codePoint, std::array<char, 4>& bytes) {
    const bool surrogate = codePoint >= 0xD800 && codePoint <= 0xDFFF;
    const char32_t valid = surrogate || codePoint > 0x10FFFF ? replacement : codePoint;
    if (valid < 0x80) {
        bytes[0] = static_cast<char>(valid);
        return 1;
    }
    const std::size_t count = valid < 0x800 ? 2 : (valid < 0x10000 ? 3 : 4);
    char32_t rest = valid;
    for (std::size_t index = count - 1; index > 0; --index) {
        bytes[index] = static_cast<char>(0x80U | (rest & 0x3FU));
        rest >>= 6U;
    }
    // The first byte has as many leading ones as there are bytes.
    bytes[0] = static_cast<char>((0xF00U >> count & 0xFFU) | rest);
    return count;
}

}  // namespace

SecretText::SecretText() : storage_(lockedStorage(firstCapacity)) {}

SecretText::~SecretText() {
    wipe(storage_.data(), storage_.size());
}

Secret SecretText::utf8() const {
    Secret encoded;
    std::array<char, 4> bytes{};
    for (const char32_t codePoint : reveal()) {
        const std::size_t count = encode(codePoint, bytes);
        encoded.append({bytes.data(), count});
    }
    velunor::wipe(bytes.data(), bytes.size());
    return encoded;
}

void SecretText::insert(std::size_t index, char32_t codePoint) {
    if (size_ == storage_.size()) {
        // Growing in place would leave a copy behind.
        std::vector<char32_t> grown = lockedStorage(storage_.size() * 2);
        std::copy(storage_.begin(), storage_.end(), grown.begin());
        wipe(storage_.data(), storage_.size());
        storage_ = std::move(grown);
    }
    std::copy_backward(storage_.begin() + offset(index), storage_.begin() + offset(size_),
                       storage_.begin() + offset(size_ + 1));
    storage_[index] = codePoint;
    ++size_;
}

void SecretText::erase(std::size_t index, std::size_t count) noexcept {
    const std::size_t first = std::min(index, size_);
    const std::size_t removed = std::min(count, size_ - first);
    std::copy(storage_.begin() + offset(first + removed), storage_.begin() + offset(size_),
              storage_.begin() + offset(first));
    size_ -= removed;
    wipe(storage_.data() + size_, removed);
}

}  // namespace velunor
