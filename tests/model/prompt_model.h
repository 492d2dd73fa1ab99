#pragma once

#include "tests/model/sequence.h"

namespace velunor::testing {

/// What a prompt must do, told once more in the plainest way: the decision tables of the countdown,
/// of the two buttons and of the credentials panel. It knows nothing of the program's own sources.
[[nodiscard]] Outcome expectedOutcome(const Sequence& sequence);

}  // namespace velunor::testing
