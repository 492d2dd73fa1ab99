#include "platform/qt/password_field/secret_text.h"

#include <algorithm>
#include <string>
#include <utility>

#include "platform/posix/memory_lock.h"
#include "platform/text.h"

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

}  // namespace

SecretText::SecretText() : storage_(lockedStorage(firstCapacity)) {}

SecretText::~SecretText() {
    wipe(storage_.data(), storage_.size());
}

Secret SecretText::utf8() const {
    Secret encoded;
    for (const char32_t codePoint : reveal()) {
        const bool surrogate = codePoint >= 0xD800 && codePoint <= 0xDFFF;
        // So few bytes never leave the string itself for the heap.
        std::string bytes =
            encodedUtf8(surrogate || codePoint > 0x10FFFF ? replacement : codePoint);
        encoded.append(bytes);
        velunor::wipe(bytes);
    }
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
