// The credential checker's system service while a stranger does nothing but connect.

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <csignal>
#include <cstdlib>
#include <fstream>
#include <thread>
#include <vector>

#include "tests/linux/credential_checker/checker_support.h"
#include "tests/linux/credential_checker/service_support.h"
#include "tests/support/forked_copy.h"
#include "tests/support/wait.h"

namespace velunor::testing {
namespace {

using std::chrono::milliseconds;

constexpr uid_t stranger = caller + 1;
constexpr std::size_t checks = 21;
constexpr std::size_t floods = 8;

/// A process of the stranger's that connects and goes, and keeps what it gets, as fast as it can;
/// it ends with this object.
class Flood {
  public:
    Flood() : process_(fork()) {
        if (process_ == 0) {
            if (setresuid(stranger, stranger, stranger) != 0) {
                _exit(EXIT_FAILURE);
            }
            constexpr std::size_t kept = 64;
            std::vector<FileDescriptor> connections(kept);
            for (std::size_t turn = 0;; ++turn) {
                connections[turn % kept] = CheckerServiceRunner::connection();
            }
        }
    }
    Flood(const Flood&) = delete;
    Flood& operator=(const Flood&) = delete;
    ~Flood() {
        kill(process_, SIGKILL);
        waitpid(process_, nullptr, 0);
    }

  private:
    pid_t process_;
};

TEST(CheckerFlood, OwnersChecksAreAnsweredRightWithinASecond) {
    std::ofstream("/run/systemd/users/" + std::to_string(caller)) << activeUser;
    std::ofstream("/etc/pam.d/velunor-osupdate") << stackOf("accept") << std::flush;
    const CheckerServiceRunner service;
    ASSERT_EQ(
        chmod(CheckerServiceRunner::settings().socketPath.c_str(), S_IRWXU | S_IRWXG | S_IRWXO), 0);
    const std::vector<Flood> flood(floods);
    std::vector<long> times;
    for (std::size_t check = 0; check < checks; ++check) {
        const bool isRight = check % 2 == 0;
        const auto begin = std::chrono::steady_clock::now();
        const std::string answer = inChild([&]() -> std::string {
                                       if (setresuid(caller, caller, caller) != 0) {
                                           return "not that user";
                                       }
                                       return checked(CheckerServiceRunner::settings(), "alice",
                                                      isRight ? "right" : "wrong");
                                   }).text;
        times.push_back(
            std::chrono::duration_cast<milliseconds>(std::chrono::steady_clock::now() - begin)
                .count());
        EXPECT_EQ(answer, isRight ? "accepted" : "PAM 7 Authentication failure");
    }
    std::ranges::sort(times);
    ::testing::Test::RecordProperty("median_milliseconds", static_cast<int>(times[checks / 2]));
    EXPECT_LT(times[checks / 2], 1000) << "the slowest took " << times.back() << " ms";
}

}  // namespace
}  // namespace velunor::testing
