#pragma once

#include "tests/model/sequence.h"

namespace velunor::testing {

/// What the program's own controller does when all of this happens to it.
[[nodiscard]] Outcome drivenOutcome(const Sequence& sequence);

}  // namespace velunor::testing
