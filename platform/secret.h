#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace velunor {

/// Overwrites the bytes with zeros in a way that the compiler cannot leave out.
void wipe(char* bytes, std::size_t count) noexcept;

/// Overwrites the whole storage of `text`, spare capacity included, and empties it.
void wipe(std::string& text) noexcept;

/// Bytes that must not outlive their use, such as a typed password. Move-only, never printable;
/// its storage is overwritten when it is destroyed, grown, replaced or moved from. Not
/// thread-safe; a value may be handed from one thread to another.
class Secret {
  public:
    Secret() = default;

    /// Takes a copy of `text`; the caller stays responsible for its own copy.
    explicit Secret(std::string_view text);

    /// Takes the text over and wipes the source.
    static Secret taking(std::string& text);

    Secret(const Secret&) = delete;
    Secret& operator=(const Secret&) = delete;
    Secret(Secret&& other) noexcept;
    Secret& operator=(Secret&& other) noexcept;
    ~Secret();

    /// The clear bytes; the view is valid until the next change or the end of this object.
    [[nodiscard]] std::string_view reveal() const noexcept { return {storage_.data(), size_}; }

    [[nodiscard]] std::size_t size() const noexcept { return size_; }
    [[nodiscard]] bool empty() const noexcept { return size_ == 0; }

    /// An independent copy, for the rare place that must hand the bytes on twice.
    [[nodiscard]] Secret duplicate() const { return Secret(reveal()); }

    /// Adds bytes at the end; storage that is outgrown is wiped.
    void append(std::string_view text);

    /// Wipes the storage and leaves an empty value.
    void clear() noexcept;

  private:
    void reserve(std::size_t capacity);

    /// Room for the bytes and for some more; it never grows in place, which would leave copies.
    std::vector<char> storage_;
    std::size_t size_ = 0;
};

}  // namespace velunor
