#pragma once

#include <sys/mman.h>

#include <cstddef>

namespace velunor {

/// Keeps the pages that hold these bytes out of swap; false where the system refuses, as it does
/// beyond the process's limit of locked memory. They stay locked to the end of the process: other
/// secrets may lie in the same pages, and locks are not counted, so that unlocking one would unlock
/// them all. Any thread.
inline bool lockMemory(const void* bytes, std::size_t count) noexcept {
    return mlock(bytes, count) == 0;
}

}  // namespace velunor
