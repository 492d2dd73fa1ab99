#pragma once

#include <cstdint>
#include <optional>

#include "platform/fatal_stop.h"

namespace velunor {

/// `left` × `right`; none when the product does not fit.
[[nodiscard]] inline std::optional<std::int64_t> multiplied(std::int64_t left, std::int64_t right) {
    std::int64_t result = 0;
    if (__builtin_mul_overflow(left, right, &result)) {
        return std::nullopt;
    }
    return result;
}

/// `left` + `right`; none when the sum does not fit.
[[nodiscard]] inline std::optional<std::int64_t> added(std::int64_t left, std::int64_t right) {
    std::int64_t result = 0;
    if (__builtin_add_overflow(left, right, &result)) {
        return std::nullopt;
    }
    return result;
}

/// The value that is there; a missing one (an overflow) ends the process.
[[nodiscard]] inline std::int64_t orFatalStop(std::optional<std::int64_t> value) {
    if (!value) {
        fatalStop();
    }
    return *value;
}

}  // namespace velunor
