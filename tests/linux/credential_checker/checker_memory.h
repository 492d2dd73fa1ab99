#pragma once

#include <string>

namespace velunor::testing {

/// Of a process, in KiB.
struct Memory {
    long whole = 0;
    long locked = 0;
};

bool holdsSomething(const Memory& memory);
bool holdsMost(const Memory& memory);

/// The memory of a checker that waits for its request, once it is as awaited; or, where it has got
/// one and PAM hangs, that of the process which asks PAM.
Memory memoryOfAWaitingChecker(bool (*isAwaited)(const Memory&), const std::string& request = {});

}  // namespace velunor::testing
