#include "platform/secret.h"

#include <algorithm>
#include <atomic>
#include <utility>

namespace velunor {

namespace {
constexpr std::size_t smallestCapacity = 64;
}  // namespace

void wipe(char* bytes, std::size_t count) noexcept {
    volatile char* cursor = bytes;
    for (std::size_t index = 0; index < count; ++index) {
        cursor[index] = '\0';
    }
    std::atomic_signal_fence(std::memory_order_seq_cst);
}

void wipe(std::string& text) noexcept {
    // Growing to the capacity never allocates and makes every byte of the storage addressable.
    text.resize(text.capacity());
    wipe(text.data(), text.size());
    text.clear();
}

Secret::Secret(std::string_view text) {
    append(text);
}

Secret Secret::taking(std::string& text) {
    Secret secret{std::string_view(text)};
    wipe(text);
    return secret;
}

Secret::Secret(Secret&& other) noexcept
    : storage_(std::exchange(other.storage_, {})), size_(std::exchange(other.size_, 0)) {}

Secret& Secret::operator=(Secret&& other) noexcept {
    if (this != &other) {
        clear();
        storage_ = std::exchange(other.storage_, {});
        size_ = std::exchange(other.size_, 0);
    }
    return *this;
}

Secret::~Secret() {
    clear();
}

void Secret::append(std::string_view text) {
    reserve(size_ + text.size());
    std::copy(text.begin(), text.end(), storage_.begin() + static_cast<std::ptrdiff_t>(size_));
    size_ += text.size();
}

void Secret::clear() noexcept {
    wipe(storage_.data(), storage_.size());
    storage_ = {};
    size_ = 0;
}

void Secret::reserve(std::size_t capacity) {
    if (capacity <= storage_.size()) {
        return;
    }
    std::vector<char> grown(std::max({capacity, storage_.size() * 2, smallestCapacity}));
    std::copy_n(storage_.begin(), size_, grown.begin());
    const std::size_t size = size_;
    clear();
    storage_ = std::move(grown);
    size_ = size;
}

}  // namespace velunor
