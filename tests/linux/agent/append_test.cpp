// An entry of the access log where the system's write is interrupted, takes a part only or fails.

#include <gmock/gmock.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <filesystem>
#include <iterator>

#include "agent/ltarnutils.h"
#include "tests/linux/agent/agent_files.h"

namespace {

/// How many of the next writes are interrupted, the most bytes that one takes, and whether the disk
/// is full.
int interruptions = 0;
std::size_t mostBytes = SIZE_MAX;
bool diskIsFull = false;

}  // namespace

// NOLINTBEGIN(bugprone-reserved-identifier): the names that the linker gives.
extern "C" {

ssize_t __real_write(int descriptor, const void* bytes, std::size_t count);

ssize_t __wrap_write(int descriptor, const void* bytes, std::size_t count) {
    if (interruptions > 0) {
        --interruptions;
        errno = EINTR;
        return -1;
    }
    if (diskIsFull) {
        errno = ENOSPC;
        return -1;
    }
    return __real_write(descriptor, bytes, std::min(count, mostBytes));
}

}  // extern "C"
// NOLINTEND(bugprone-reserved-identifier)

namespace velunor::testing {
namespace {

class AppendedEntry : public AgentFiles {
  protected:
    AppendedEntry() {
        initialiseLibrary();
        writeFile(accessLog(), "before\n");
    }
    void TearDown() override {
        interruptions = 0;
        mostBytes = SIZE_MAX;
        diskIsFull = false;
    }

    [[nodiscard]] std::string accessLog() const { return directory() / "access.log"; }

    static std::ptrdiff_t openDescriptors() {
        const std::filesystem::directory_iterator descriptors("/proc/self/fd");
        return std::distance(begin(descriptors), end(descriptors));
    }
};

TEST_F(AppendedEntry, IsWholeAfterInterruptions) {
    interruptions = 3;
    UtilsWrapper().printAccessToFile(accessLog(), "the entry");
    EXPECT_EQ(interruptions, 0);
    EXPECT_EQ(readFile(accessLog()), "before\nthe entry");
}

TEST_F(AppendedEntry, IsWholeWhereAWriteTakesAPart) {
    mostBytes = 2;
    UtilsWrapper().printAccessToFile(accessLog(), "the entry");
    EXPECT_EQ(readFile(accessLog()), "before\nthe entry");
}

TEST_F(AppendedEntry, LeavesNoDescriptorOpen) {
    const auto before = openDescriptors();
    for (const char* path : {"access.log", "none", "data"}) {
        UtilsWrapper().printAccessToFile(directory() / path, "the entry");
    }
    UtilsWrapper().printAccessToFile("/dev/null", "the entry");
    diskIsFull = true;
    UtilsWrapper().printAccessToFile(accessLog(), "the entry");
    EXPECT_EQ(openDescriptors(), before);
}

}  // namespace
}  // namespace velunor::testing
