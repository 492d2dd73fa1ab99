#pragma once

#include <concepts>
#include <cstddef>
#include <string>
#include <type_traits>
#include <utility>
#include <variant>

#include "platform/fatal_stop.h"

namespace velunor {

/// Why an operation failed, as one line of text.
struct Error {
    std::string description;
    bool operator==(const Error&) const = default;
};

/// A value or the error in its place: what is used here of C++23's std::expected, under the same
/// names, except that a function may return its error as it is. Asking for the one that is not
/// there is a programming error and ends the process. Not thread-safe.
template <class T, class E = Error>
class [[nodiscard]] Expected {
  public:
    /// Holds a value made from `value`; a function returns its value as it is.
    template <class U = T>
    requires(std::convertible_to<U, T> && !std::same_as<std::remove_cvref_t<U>, E> &&
             !std::same_as<std::remove_cvref_t<U>, Expected>)
        // NOLINTNEXTLINE(google-explicit-constructor,bugprone-forwarding-reference-overload)
        Expected(U&& value)
        : content_(std::in_place_index<0>, std::forward<U>(value)) {}

    /// Holds the error, which is returned likewise.
    // NOLINTNEXTLINE(google-explicit-constructor)
    Expected(E error) : content_(std::in_place_index<1>, std::move(error)) {}

    [[nodiscard]] bool has_value() const noexcept { return content_.index() == 0; }
    [[nodiscard]] explicit operator bool() const noexcept { return has_value(); }

    [[nodiscard]] T& operator*() & noexcept { return part<0>(content_); }
    [[nodiscard]] const T& operator*() const& noexcept { return part<0>(content_); }
    [[nodiscard]] T&& operator*() && noexcept { return std::move(part<0>(content_)); }
    [[nodiscard]] T* operator->() noexcept { return &part<0>(content_); }
    [[nodiscard]] const T* operator->() const noexcept { return &part<0>(content_); }

    [[nodiscard]] const E& error() const& noexcept { return part<1>(content_); }
    [[nodiscard]] E&& error() && noexcept { return std::move(part<1>(content_)); }

  private:
    template <std::size_t index, class Content>
    static auto& part(Content& content) noexcept {
        auto* found = std::get_if<index>(&content);
        if (found == nullptr) {
            fatalStop();
        }
        return *found;
    }

    std::variant<T, E> content_;
};

}  // namespace velunor
