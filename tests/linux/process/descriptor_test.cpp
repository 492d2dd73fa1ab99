// Owned descriptors, waiting for them and writing to them; connections to local sockets.

#include <fcntl.h>
#include <gtest/gtest.h>
#include <poll.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstdlib>
#include <string>
#include <utility>

#include "platform/posix/file_descriptor.h"
#include "platform/posix/local_socket.h"
#include "platform/posix/process.h"
#include "tests/support/forked_copy.h"
#include "tests/support/temporary_directory.h"

namespace {

/// How many of the next writes are interrupted, and how many take nothing then.
int interruptions = 0;
int emptyWrites = 0;
/// What closing leaves in errno, where it leaves something.
int errorOfClosing = 0;

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
    if (emptyWrites > 0) {
        --emptyWrites;
        errno = EINTR;
        return 0;
    }
    return __real_write(descriptor, bytes, count);
}

int __real_close(int descriptor);

int __wrap_close(int descriptor) {
    const int result = __real_close(descriptor);
    if (errorOfClosing == 0) {
        return result;
    }
    errno = errorOfClosing;
    return -1;
}

}  // extern "C"
// NOLINTEND(bugprone-reserved-identifier)

namespace velunor::testing {
namespace {

using std::chrono::milliseconds;
using std::chrono::steady_clock;

constexpr milliseconds moment{50};
/// More than any step here takes on a busy machine.
constexpr std::chrono::seconds longTime{20};

bool isOpen(int descriptor) {
    return fcntl(descriptor, F_GETFD) >= 0;
}

struct Pipe {
    Pipe() {
        std::array<int, 2> ends{};
        if (pipe2(ends.data(), O_CLOEXEC | O_NONBLOCK) != 0) {
            std::abort();
        }
        reader = FileDescriptor(ends[0]);
        writer = FileDescriptor(ends[1]);
    }
    FileDescriptor reader;
    FileDescriptor writer;
};

TEST(Descriptor, IsClosedWithItsLastOwnerUnlessItIsGivenAway) {
    Pipe pipe;
    const int reader = pipe.reader.get();
    const int writer = pipe.writer.get();
    {
        const FileDescriptor owner(std::move(pipe.reader));
        EXPECT_EQ(owner.get(), reader);
        EXPECT_TRUE(isOpen(reader));
    }
    EXPECT_FALSE(isOpen(reader));
    EXPECT_EQ(pipe.writer.release(), writer);
    EXPECT_FALSE(pipe.writer.isOpen());
    EXPECT_TRUE(isOpen(writer));
    close(writer);
}

TEST(Descriptor, MayHaveTheNumberZero) {
    const auto outcome = inChild([] {
        close(STDIN_FILENO);
        {
            const FileDescriptor first(open("/dev/null", O_RDONLY | O_CLOEXEC));
            if (first.get() != STDIN_FILENO || !first.isOpen()) {
                return std::string("not zero");
            }
        }
        return std::string(isOpen(STDIN_FILENO) ? "left open" : "closed");
    });
    EXPECT_EQ(outcome.text, "closed");
}

TEST(Writing, GivesTheErrorOfAWriteThatFails) {
    const Pipe pipe;
    EXPECT_EQ(writeWhole(pipe.writer.get(), "text"), 0);
    EXPECT_EQ(writeWhole(pipe.writer.get(), std::string(1'000'000, 'x')), EAGAIN);
    EXPECT_EQ(writeWhole(pipe.reader.get(), "text"), EBADF);
    EXPECT_EQ(writeWhole(pipe.reader.get(), ""), 0);
}

TEST(Writing, GoesOnAfterASignalAndEndsWhereNothingIsTaken) {
    const Pipe pipe;
    interruptions = 2;
    EXPECT_EQ(writeWhole(pipe.writer.get(), "text"), 0);
    emptyWrites = 1;
    EXPECT_EQ(writeWhole(pipe.writer.get(), "text"), EIO);
    EXPECT_EQ(emptyWrites, 0);
}

TEST(Polling, TellsWhatIsThereWhatIsNotAndWhatIsNoDescriptor) {
    const Pipe pipe;
    const auto soon = [] { return steady_clock::now() + moment; };
    const auto begin = steady_clock::now();
    EXPECT_EQ(pollUntil(pipe.reader.get(), POLLIN, soon()), ETIMEDOUT);
    EXPECT_GE(steady_clock::now() - begin, moment);
    EXPECT_EQ(pollUntil(pipe.writer.get(), POLLOUT, steady_clock::now() + longTime), 0);
    EXPECT_EQ(pollUntil(pipe.writer.get(), POLLOUT, begin), ETIMEDOUT);
    ASSERT_EQ(writeWhole(pipe.writer.get(), "x"), 0);
    EXPECT_EQ(pollUntil(pipe.reader.get(), POLLIN, steady_clock::time_point::max()), 0);
    EXPECT_EQ(pollUntil(-1, POLLIN, soon()), EBADF);
    Pipe gone;
    const int number = gone.reader.get();
    gone.reader = FileDescriptor();
    EXPECT_EQ(pollUntil(number, POLLIN, soon()), EBADF);
}

TEST(Polling, MayBeOfTheNumberZero) {
    const auto outcome = inChild([] {
        const Pipe pipe;
        dup2(pipe.reader.get(), STDIN_FILENO);
        return std::to_string(pollUntil(STDIN_FILENO, POLLIN, steady_clock::now() + moment));
    });
    EXPECT_EQ(outcome.text, std::to_string(ETIMEDOUT));
}

TEST(Polling, GoesOnAfterASignal) {
    const auto outcome = inChild([] {
        struct sigaction action {};
        action.sa_handler = [](int) {};
        sigaction(SIGALRM, &action, nullptr);
        const Pipe pipe;
        ualarm(10'000, 0);
        const auto begin = steady_clock::now();
        const int error = pollUntil(pipe.reader.get(), POLLIN, begin + 4 * moment);
        const bool waited = steady_clock::now() - begin >= 4 * moment;
        return std::to_string(error) + (waited ? " in time" : " too early");
    });
    EXPECT_EQ(outcome.text, std::to_string(ETIMEDOUT) + " in time");
}

TEST(AboveStandardStreams, IsWhateverIsAboveAlreadyAndACopyOfWhatIsNot) {
    const auto outcome = inChild([] {
        close(STDIN_FILENO);
        close(STDERR_FILENO);
        FileDescriptor low(open("/dev/zero", O_RDONLY | O_CLOEXEC));
        const FileDescriptor third =
            aboveStandardStreams(FileDescriptor(open("/dev/zero", O_RDONLY | O_CLOEXEC)));
        if (third.get() <= STDERR_FILENO) {
            return std::string("too low");
        }
        const FileDescriptor high = aboveStandardStreams(std::move(low));
        const int number = high.get();
        const FileDescriptor same = aboveStandardStreams(FileDescriptor(dup(number)));
        char byte = 'x';
        const bool isCopy = number > STDERR_FILENO && read(number, &byte, 1) == 1 && byte == 0 &&
                            fcntl(number, F_GETFD) == FD_CLOEXEC && !isOpen(STDIN_FILENO);
        return std::string(isCopy ? "a copy" : "none") + (same.get() > number ? ", kept" : "");
    });
    EXPECT_EQ(outcome.text, "a copy, kept");
    const FileDescriptor none = aboveStandardStreams(FileDescriptor());
    EXPECT_FALSE(none.isOpen());
}

TEST(OccupiedStreams, AreReadableInputAndOutputAndAnErrorStreamForBoth) {
    const auto outcome = inChild([] {
        const int kept = dup(STDOUT_FILENO);
        for (const int stream : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO}) {
            close(stream);
        }
        occupyStandardStreams();
        std::string modes;
        for (const int stream : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO}) {
            const int mode = fcntl(stream, F_GETFL) & O_ACCMODE;
            modes += mode == O_RDONLY ? "r" : mode == O_RDWR ? "b" : "w";
        }
        dup2(kept, STDOUT_FILENO);
        const int next = dup(kept);
        close(next);
        occupyStandardStreams();
        return modes + (dup(kept) == next ? ", no more" : ", and more");
    });
    EXPECT_EQ(outcome.text, "rrb, no more");
}

class LocalSocket : public ::testing::Test {
  protected:
    /// A socket at this path that holds `queue` connections nobody takes.
    static FileDescriptor listenAt(const std::string& path, int queue) {
        FileDescriptor listener(socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0));
        sockaddr_un address{};
        address.sun_family = AF_UNIX;
        path.copy(address.sun_path, sizeof address.sun_path);
        if (bind(listener.get(), reinterpret_cast<const sockaddr*>(&address), sizeof address) !=
                0 ||
            listen(listener.get(), queue) != 0) {
            std::abort();
        }
        return listener;
    }
    /// 0, or the reason why there is no connection.
    static int connectTo(const std::string& path,
                         steady_clock::time_point deadline = steady_clock::time_point::max()) {
        errno = 0;
        const FileDescriptor connection = connectLocalSocket(SOCK_STREAM, path, deadline);
        return connection.isOpen() ? 0 : errno;
    }
    [[nodiscard]] std::string path() const { return directory_.file("socket"); }

  private:
    TemporaryDirectory directory_;
};

TEST_F(LocalSocket, TellsWhyThereIsNoConnection) {
    EXPECT_EQ(connectTo(path()), ENOENT);
    { const FileDescriptor listener = listenAt(path(), 1); }
    EXPECT_EQ(connectTo(path()), ECONNREFUSED);
    EXPECT_EQ(connectTo(""), EINVAL);
    EXPECT_EQ(connectTo(path() + std::string("\0x", 2)), EINVAL);
}

TEST_F(LocalSocket, ReasonIsNotLostWhereClosingFailsToo) {
    errorOfClosing = EIO;
    const int reason = connectTo(path());
    errorOfClosing = 0;
    EXPECT_EQ(reason, ENOENT);
}

TEST_F(LocalSocket, DeadlineMayBeAnyTimeAhead) {
    const FileDescriptor listener = listenAt(path(), 4);
    for (const milliseconds ahead : {milliseconds{500}, milliseconds{1500}, milliseconds{60'000}}) {
        EXPECT_EQ(connectTo(path(), steady_clock::now() + ahead), 0);
    }
}

TEST_F(LocalSocket, PathIsAsLongAsAnAddressAllows) {
    std::string longest = path();
    longest.resize(sizeof sockaddr_un{}.sun_path - 1, 'x');
    const FileDescriptor listener = listenAt(longest, 1);
    EXPECT_EQ(connectTo(longest), 0);
    EXPECT_EQ(connectTo(longest + "x"), ENAMETOOLONG);
}

TEST_F(LocalSocket, FullQueueIsWaitedForUntilTheDeadline) {
    const FileDescriptor listener = listenAt(path(), 0);
    const FileDescriptor first = connectLocalSocket(SOCK_STREAM, path());
    ASSERT_TRUE(first.isOpen());
    const auto begin = steady_clock::now();
    EXPECT_EQ(connectTo(path(), begin + 4 * moment), ETIMEDOUT);
    EXPECT_GE(steady_clock::now() - begin, 4 * moment);
    EXPECT_LT(steady_clock::now() - begin, longTime);
    EXPECT_EQ(connectTo(path(), begin), ETIMEDOUT);
}

}  // namespace
}  // namespace velunor::testing
