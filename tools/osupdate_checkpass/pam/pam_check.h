#pragma once

#include <sys/types.h>

#include <chrono>
#include <functional>

#include "tools/osupdate_checkpass/protocol/messages.h"

namespace velunor {

/// Asks PAM, in this process, about the password and about the account, with the service
/// "velunor-osupdate". Its modules learn that `caller` asks. PAM_SUCCESS only when PAM has seen the
/// password, accepted it, still means the same account and would let it in now; else the number of
/// PAM's error. Blocks as long as PAM's modules do, which may also end the process.
[[nodiscard]] int askPam(const CheckRequest& request, uid_t caller);

/// Runs `check` in a process of its own that is killed at `deadline`, and gives its number. A check
/// that crashes, ends the process or takes longer gives PAM_ABORT. Only for a process with one
/// thread.
[[nodiscard]] int guardedCheck(const std::function<int()>& check,
                               std::chrono::steady_clock::time_point deadline);

}  // namespace velunor
