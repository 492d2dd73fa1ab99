#include "platform/posix/memory_lock.h"

#include <sys/mman.h>
#include <unistd.h>

#include <cstdint>

namespace velunor {

bool lockMemory(const void* bytes, std::size_t count) noexcept {
    if (count == 0) {
        return true;
    }
    // Linux rounds the start down to a page by itself; other systems may refuse what is not one.
    const auto pageSize = static_cast<std::uintptr_t>(sysconf(_SC_PAGESIZE));
    const auto* first = static_cast<const char*>(bytes);
    const std::uintptr_t before = reinterpret_cast<std::uintptr_t>(bytes) % pageSize;
    return mlock(first - before, count + before) == 0;
}

}  // namespace velunor
