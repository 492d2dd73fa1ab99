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
    : bytes_(std::move(other.bytes_)),
      size_(std::exchange(other.size_, 0)),
      capacity_(std::exchange(other.capacity_, 0)) {}

Secret& Secret::operator=(Secret&& other) noexcept {
    if (this != &other) {
        clear();
        bytes_ = std::move(other.bytes_);
        size_ = std::exchange(other.size_, 0);
        capacity_ = std::exchange(other.capacity_, 0);
    }
    return *this;
}

Secret::~Secret() {
    clear();
}

void Secret::append(std::string_view text) {
    reserve(size_ + text.size());
    std::copy(text.begin(), text.end(), bytes_.get() + size_);
    size_ += text.size();
}

void Secret::clear() noexcept {
    if (bytes_) {
        wipe(bytes_.get(), capacity_);
    }
    bytes_.reset();
    size_ = 0;
    capacity_ = 0;
}

void Secret::reserve(std::size_t capacity) {
    if (capacity <= capacity_) {
        return;
    }
    const std::size_t grown = std::max({capacity, capacity_ * 2, smallestCapacity});
    auto storage = std::make_unique<char[]>(grown);
    std::copy_n(bytes_.get(), size_, storage.get());
    const std::size_t size = size_;
    clear();
    bytes_ = std::move(storage);
    size_ = size;
    capacity_ = grown;
}

}  // namespace velunor
