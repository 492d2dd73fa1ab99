#pragma once

#include <chrono>
#include <thread>

namespace velunor::testing {

/// How long a condition may take on a loaded machine before a test gives it up.
inline constexpr std::chrono::seconds patience{40};

/// Asks `condition` again and again until it holds; whether it did so within `limit`.
template <class Condition>
[[nodiscard]] bool eventually(Condition&& condition, std::chrono::milliseconds limit = patience) {
    const auto deadline = std::chrono::steady_clock::now() + limit;
    while (!condition()) {
        if (std::chrono::steady_clock::now() > deadline) {
            return false;
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(10));
    }
    return true;
}

}  // namespace velunor::testing
