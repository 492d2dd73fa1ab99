#pragma once

#include <atomic>
#include <cstddef>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace velunor {

/// Overwrites the bytes with zeros in a way that the compiler cannot leave out.
inline void wipe(char* bytes, std::size_t count) noexcept {
    volatile char* cursor = bytes;
    for (std::size_t index = 0; index < count; ++index) {
        cursor[index] = '\0';
    }
    std::atomic_signal_fence(std::memory_order_seq_cst);
}

/// Overwrites the whole storage of `text`, spare capacity included, and empties it.
inline void wipe(std::string& text) noexcept {
    // Growing to the capacity never allocates and makes every byte of the storage addressable.
    text.resize(text.capacity());
    wipe(text.data(), text.size());
    text.clear();
}

/// Overwrites what it gives back.
template <class T>
struct WipingAllocator {
    using value_type = T;

    T* allocate(std::size_t count) { return std::allocator<T>().allocate(count); }
    void deallocate(T* storage, std::size_t count) noexcept {
        wipe(reinterpret_cast<char*>(storage), count * sizeof(T));
        std::allocator<T>().deallocate(storage, count);
    }
    bool operator==(const WipingAllocator&) const = default;
};

/// Bytes that must not outlive their use, such as a typed password. Move-only, never printable;
/// its storage is overwritten when it is destroyed, grown, replaced or moved from. Not
/// thread-safe; a value may be handed from one thread to another.
class Secret {
  public:
    Secret() = default;

    /// Takes a copy of `text`; the caller stays responsible for its own copy.
    explicit Secret(std::string_view text) : bytes_(text.begin(), text.end()) {}

    Secret(const Secret&) = delete;
    Secret& operator=(const Secret&) = delete;
    Secret(Secret&&) noexcept = default;
    Secret& operator=(Secret&&) noexcept = default;
    ~Secret() = default;

    /// The clear bytes; the view is valid until the next change or the end of this object.
    [[nodiscard]] std::string_view reveal() const noexcept { return {bytes_.data(), size()}; }

    [[nodiscard]] std::size_t size() const noexcept { return bytes_.size(); }
    [[nodiscard]] bool empty() const noexcept { return bytes_.empty(); }

    /// Adds bytes at the end; storage that is outgrown is wiped.
    void append(std::string_view text) { bytes_.insert(bytes_.end(), text.begin(), text.end()); }

    /// Wipes the storage and leaves an empty value.
    void clear() noexcept {
        wipe(bytes_.data(), bytes_.size());
        bytes_.clear();
    }

  private:
    std::vector<char, WipingAllocator<char>> bytes_;
};

}  // namespace velunor
