// An entry of the access log where the system's write is interrupted, takes a part only or fails,
// and where there is no room for it.

#include <fcntl.h>
#include <gmock/gmock.h>
#include <sys/resource.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <filesystem>
#include <iterator>
#include <utility>

#include "agent/ltarnutils.h"
#include "tests/linux/agent/agent_files.h"

namespace {

/// How many of the next writes are interrupted, the most bytes that one takes, and whether the disk
/// is full.
int interruptions = 0;
std::size_t mostBytes = SIZE_MAX;
bool diskIsFull = false;

/// What keeping room fails with, 0 where it is kept, and what it was last asked for.
int noRoom = 0;
struct Room {
    int mode = 0;
    off_t offset = 0;
    off_t length = 0;
} room;

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

int __wrap_fallocate(int /*descriptor*/, int mode, off_t offset, off_t length) {
    room = {mode, offset, length};
    if (noRoom == 0) {
        return 0;
    }
    errno = noRoom;
    return -1;
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
        noRoom = 0;
    }

    [[nodiscard]] std::string accessLog() const { return directory() / "access.log"; }

    /// Adds an entry to a file that may not grow beyond this.
    void appendWithin(rlim_t largest, const std::string& entry) const {
        // Without the signal a write over the limit is an error of the file.
        const auto signalBefore = std::signal(SIGXFSZ, SIG_IGN);
        rlimit before{};
        getrlimit(RLIMIT_FSIZE, &before);
        const rlimit limit{largest, before.rlim_max};
        ASSERT_EQ(setrlimit(RLIMIT_FSIZE, &limit), 0);
        UtilsWrapper().printAccessToFile(accessLog(), entry);
        setrlimit(RLIMIT_FSIZE, &before);
        static_cast<void>(std::signal(SIGXFSZ, signalBefore));
    }

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

TEST_F(AppendedEntry, HasItsRoomBehindTheEndOfTheFileBeforeItIsWritten) {
    // Of some call before, which nobody may take for this one's.
    errno = ENOSPC;
    UtilsWrapper().printAccessToFile(accessLog(), "the entry");
    EXPECT_EQ(room.mode, FALLOC_FL_KEEP_SIZE);
    EXPECT_EQ(room.offset, 7);
    EXPECT_EQ(room.length, 9);
    EXPECT_EQ(readFile(accessLog()), "before\nthe entry");
}

TEST_F(AppendedEntry, IsNotBegunWhereThereIsNoRoomForTheWhole) {
    for (const auto& [error, reason] :
         {std::pair(ENOSPC, "No space left on device"), std::pair(EDQUOT, "Disk quota exceeded")}) {
        noRoom = error;
        UtilsWrapper().printAccessToFile(accessLog(), "the entry");
        EXPECT_EQ(readFile(accessLog()), "before\n");
        EXPECT_THAT(libraryLog(), ::testing::EndsWith(accessLog() + ": " + reason + "\n"));
    }
}

TEST_F(AppendedEntry, IsWrittenWhereNoRoomCanBeKept) {
    noRoom = EOPNOTSUPP;
    UtilsWrapper().printAccessToFile(accessLog(), "the entry");
    EXPECT_EQ(readFile(accessLog()), "before\nthe entry");
}

TEST_F(AppendedEntry, IsWholeOrNotThereWhereTheFileMayNotGrow) {
    // The library's log has to stay within the limit, too.
    constexpr std::size_t size = 100'000;
    const std::string before(size, 'x');
    writeFile(accessLog(), before);
    appendWithin(size + 8, "the entry");
    EXPECT_TRUE(readFile(accessLog()) == before);
    appendWithin(size + 9, "the entry");
    EXPECT_TRUE(readFile(accessLog()) == before + "the entry");
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
