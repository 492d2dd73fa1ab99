// Parts of the checker by themselves, where what they meet is rare or what they leave is looked at.

#include <fcntl.h>
#include <gtest/gtest.h>
#include <security/pam_appl.h>
#include <sys/ioctl.h>
#include <sys/resource.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <chrono>
#include <cstddef>
#include <memory>
#include <new>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "platform/posix/file_descriptor.h"
#include "tests/linux/credential_checker/checker_support.h"
#include "tests/support/forked_copy.h"
#include "tests/support/wait.h"
#include "tools/osupdate_checkpass/pam/pam_check.h"
#include "tools/osupdate_checkpass/protocol/messages.h"

namespace velunor::testing {
namespace {

using std::chrono::seconds;
using std::chrono::steady_clock;

steady_clock::time_point soon() {
    return steady_clock::now() + seconds{30};
}

/// The reading end of a pipe that holds this text, with nobody at the other end.
FileDescriptor pipeWith(const std::string& text) {
    std::array<int, 2> ends{};
    if (pipe2(ends.data(), O_CLOEXEC) != 0) {
        return FileDescriptor();
    }
    const FileDescriptor writer(ends[1]);
    EXPECT_EQ(writeWhole(writer.get(), text), 0);
    return FileDescriptor(ends[0]);
}

/// A pipe into which each piece comes once the one before it has been read, and then the end.
class PiecewisePipe {
  public:
    explicit PiecewisePipe(std::vector<std::string> pieces) {
        std::array<int, 2> ends{};
        EXPECT_EQ(pipe2(ends.data(), O_CLOEXEC), 0);
        reader_ = FileDescriptor(ends[0]);
        sender_ = std::jthread([writer = FileDescriptor(ends[1]), pieces = std::move(pieces)] {
            for (const std::string& piece : pieces) {
                EXPECT_TRUE(eventually([&] {
                    int left = -1;
                    return ioctl(writer.get(), FIONREAD, &left) == 0 && left == 0;
                }));
                EXPECT_EQ(writeWhole(writer.get(), piece), 0);
            }
        });
    }

    [[nodiscard]] int reader() const { return reader_.get(); }

  private:
    FileDescriptor reader_;
    std::jthread sender_;
};

TEST(CheckRequest, IsOverwrittenAtItsEnd) {
    const std::string password = "a password to be looked for";
    alignas(CheckRequest) std::array<char, sizeof(CheckRequest)> storage{};
    const auto holds = [&] {
        // As what may change unseen, so that the bytes are read.
        const volatile char* bytes = storage.data();
        std::string copy(storage.size(), '\0');
        std::copy(bytes, bytes + storage.size(), copy.begin());
        return copy.find(password) != std::string::npos;
    };
    auto* request = new (storage.data()) CheckRequest;
    ASSERT_TRUE(request->read(pipeWith(requestFor("alice", password)).get(), soon(), 100));
    EXPECT_EQ(request->userName(), "alice");
    EXPECT_EQ(request->password(), password);
    EXPECT_TRUE(holds());
    std::destroy_at(request);
    EXPECT_FALSE(holds());
}

TEST(CheckRequest, WritesNothingBehindItselfHoweverItIsSent) {
    struct {
        CheckRequest request;
        std::array<char, 8192> behind{};
    } place;
    const PiecewisePipe pipe({std::string(1000, 'x'), std::string(8000, 'x')});
    EXPECT_FALSE(place.request.read(pipe.reader(), soon(), 1024));
    EXPECT_EQ(std::count(place.behind.begin(), place.behind.end(), '\0'), 8192);
}

TEST(CheckRequest, MayComeByteByByte) {
    std::vector<std::string> bytes;
    for (const char byte : requestFor("me", "right")) {
        bytes.emplace_back(1, byte);
    }
    const PiecewisePipe pipe(bytes);
    CheckRequest request;
    EXPECT_TRUE(request.read(pipe.reader(), soon(), 100));
    EXPECT_EQ(request.userName(), "me");
    EXPECT_EQ(request.password(), "right");
}

TEST(CheckRequest, HoldsTheLongestForADirectoryAndNoLongerOne) {
    using credential_checker_protocol::longestDirectoryPassword;
    const std::string name(credential_checker_protocol::longestUserName, 'n');
    const std::string password(longestDirectoryPassword, 'p');
    const auto isTaken = [](const std::string& text) {
        CheckRequest request;
        return request.read(pipeWith(text).get(), soon(), longestDirectoryPassword);
    };
    EXPECT_TRUE(isTaken(requestFor(name, password)));
    EXPECT_FALSE(isTaken(requestFor(name, password + "p")));
    EXPECT_FALSE(isTaken(requestFor(name, password) + "p"));
}

TEST(CheckRequest, ThatCannotBeReadIsGivenUpAtOnce) {
    const FileDescriptor directory(open("/", O_RDONLY | O_CLOEXEC));
    CheckRequest request;
    const auto begin = steady_clock::now();
    EXPECT_FALSE(request.read(directory.get(), begin + seconds{30}, 100));
    EXPECT_LT(steady_clock::now() - begin, seconds{20});
}

TEST(CheckerAnswer, HasOneLineOfTheGreatestLengthAtMost) {
    EXPECT_EQ(refusal(7, "No"), "refused 7 No\n");
    const std::string longest = refusal(-1, std::string(1000, 'x'));
    EXPECT_EQ(longest, "refused -1 " + std::string(512 - 12, 'x') + "\n");
    EXPECT_EQ(longest.size(), credential_checker_protocol::longestAnswer);
}

TEST(CheckerAnswer, IsToldOnlyAsAWhole) {
    const FileDescriptor nowhere(open("/dev/full", O_WRONLY | O_CLOEXEC));
    EXPECT_FALSE(answer(nowhere.get(), "accepted\n"));
    const FileDescriptor anywhere(open("/dev/null", O_WRONLY | O_CLOEXEC));
    EXPECT_TRUE(answer(anywhere.get(), "accepted\n"));
}

TEST(GuardedCheck, IsASystemErrorWhereNoProcessOrPipeIsToBeHad) {
    const auto under = [](auto resource) {
        return inChild([resource] {
                   constexpr uid_t nobody = 65534;
                   const rlimit none{0, 0};
                   const bool isSet = (geteuid() != 0 || setresuid(nobody, nobody, nobody) == 0) &&
                                      setrlimit(resource, &none) == 0;
                   return isSet ? std::to_string(guardedCheck([] { return PAM_SUCCESS; }, soon()))
                                : std::string("no limit");
               })
            .text;
    };
    EXPECT_EQ(under(RLIMIT_NOFILE), std::to_string(PAM_SYSTEM_ERR));
    EXPECT_EQ(under(RLIMIT_NPROC), std::to_string(PAM_SYSTEM_ERR));
}

}  // namespace
}  // namespace velunor::testing
