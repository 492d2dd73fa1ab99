#pragma once

#include <chrono>
#include <functional>

namespace velunor {

/// Runs `check` in a process of its own that is killed at `deadline`, and gives its number. A check
/// that crashes, ends the process or takes longer gives PAM_ABORT. Only for a process with one
/// thread.
[[nodiscard]] int guardedCheck(const std::function<int()>& check,
                               std::chrono::steady_clock::time_point deadline);

}  // namespace velunor
