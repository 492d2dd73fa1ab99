#pragma once

#include <cstdint>
#include <cstdlib>
#include <optional>

namespace velunor {

// What a programming error comes to, and the references and sums in which one may show. Any thread.

/// Ends the process at once because of a programming error: no message, no clean-up, no exit
/// handlers (the process dies of SIGABRT).
[[noreturn]] inline void fatalStop() noexcept {
    std::abort();
}

/// `left` × `right`; none when the product does not fit.
[[nodiscard]] inline std::optional<std::int64_t> multiplied(std::int64_t left, std::int64_t right) {
    std::int64_t result = 0;
    return __builtin_mul_overflow(left, right, &result) ? std::nullopt : std::optional(result);
}

/// `left` + `right`; none when the sum does not fit.
[[nodiscard]] inline std::optional<std::int64_t> added(std::int64_t left, std::int64_t right) {
    std::int64_t result = 0;
    return __builtin_add_overflow(left, right, &result) ? std::nullopt : std::optional(result);
}

/// The value that is there; a missing one (an overflow) ends the process.
[[nodiscard]] inline std::int64_t orFatalStop(std::optional<std::int64_t> value) {
    if (!value) {
        fatalStop();
    }
    return *value;
}

/// A nullable reference to an object that somebody else owns and keeps alive. Using an empty one
/// ends the process; ask `isConnected()` where absence is allowed.
template <class T>
class WeakReference {
  public:
    WeakReference() = default;

    /// Points the reference at `target`; a null pointer empties it.
    void connect(T* target) noexcept { target_ = target; }

    [[nodiscard]] bool isConnected() const noexcept { return target_ != nullptr; }

    T& operator*() const noexcept {
        if (target_ == nullptr) {
            fatalStop();
        }
        return *target_;
    }

    T* operator->() const noexcept { return &**this; }

  private:
    T* target_ = nullptr;
};

}  // namespace velunor
