#include <gtest/gtest.h>
#include <sys/mman.h>
#include <unistd.h>

#include <cstdint>
#include <fstream>
#include <string>

#include "platform/posix/memory_lock.h"
#include "tests/support/forked_copy.h"

namespace velunor::testing {
namespace {

/// The "VmLck:" line of this process, in KiB.
std::uint64_t lockedKibibytes() {
    std::ifstream status("/proc/self/status");
    std::string word;
    while (status >> word && word != "VmLck:") {
    }
    std::uint64_t count = 0;
    status >> count;
    return count;
}

TEST(LockedMemory, IsLockedAndMemoryThatIsNotThereIsRefused) {
    const auto outcome = inChild([] {
        const auto page = static_cast<std::size_t>(sysconf(_SC_PAGESIZE));
        void* const memory =
            mmap(nullptr, 2 * page, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
        if (memory == MAP_FAILED) {
            return std::string("no memory");
        }
        const std::uint64_t before = lockedKibibytes();
        std::string text = lockMemory(memory, page) ? "locked" : "refused";
        text += lockedKibibytes() == before + page / 1024 ? ", one page, " : ", another size, ";
        munmap(memory, 2 * page);
        return text + (lockMemory(memory, page) ? "locked" : "refused");
    });
    EXPECT_EQ(outcome.text, "locked, one page, refused");
}

}  // namespace
}  // namespace velunor::testing
