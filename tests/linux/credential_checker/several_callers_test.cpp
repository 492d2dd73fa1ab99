// What several callers can take of the service. Root, on a machine of its own, can be anybody.

#include <gmock/gmock.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <cstdlib>
#include <fstream>
#include <memory>
#include <string>
#include <vector>

#include "tests/linux/credential_checker/checker_support.h"
#include "tests/linux/credential_checker/service_support.h"
#include "tests/support/forked_copy.h"

namespace velunor::testing {
namespace {

using std::chrono::milliseconds;
using std::chrono::seconds;

constexpr uid_t other = caller + 1;
constexpr mode_t everybodys = S_IRWXU | S_IRWXG | S_IRWXO;

class SeveralCallers : public ::testing::Test {
  protected:
    SeveralCallers() {
        for (const uid_t user : {uid_t{caller}, other}) {
            std::ofstream("/run/systemd/users/" + std::to_string(user)) << activeUser;
        }
        std::ofstream("/etc/passwd", std::ios::app) << "alice:x:4005:4005::/:/bin/sh\n";
    }

    /// The service with this PAM stack, open to everybody as its own socket is.
    void start(const std::string& stack) {
        std::ofstream("/etc/pam.d/velunor-osupdate") << stack << std::flush;
        service_ = std::make_unique<CheckerServiceRunner>();
        chmod(CheckerServiceRunner::settings().socketPath.c_str(), everybodys);
    }

    /// What this user's check tells.
    static std::string checkedBy(uid_t user, milliseconds timeout = seconds{30}) {
        return inChild([&]() -> std::string {
                   auto settings = CheckerServiceRunner::settings();
                   settings.timeout = timeout;
                   return setresuid(user, user, user) == 0 ? checked(settings) : "not that user";
               })
            .text;
    }

  private:
    std::unique_ptr<CheckerServiceRunner> service_;
};

TEST_F(SeveralCallers, OneWithoutAFreePlaceIsTurnedAwayAndAnotherIsNot) {
    constexpr std::size_t places = 16;
    start(stackOf("hang"));
    const std::string outcome = inChild([]() -> std::string {
                                    if (setresuid(caller, caller, caller) != 0) {
                                        return "not that user";
                                    }
                                    std::vector<FileDescriptor> waiting(places);
                                    for (FileDescriptor& connection : waiting) {
                                        connection = CheckerServiceRunner::request();
                                    }
                                    auto settings = CheckerServiceRunner::settings();
                                    settings.timeout = seconds{1};
                                    return checked(settings);
                                }).text;
    // Behind it an answer was awaited in vain, before it none was to be had.
    EXPECT_THAT(outcome, ::testing::MatchesRegex("Checker (32|61|104) no answer: .*"));
    EXPECT_EQ(checkedBy(other, seconds{1}), "Checker 110 no answer: Connection timed out");
}

TEST_F(SeveralCallers, GuessesOfOneAccountMeetFaillockOneAfterTheOther) {
    constexpr std::size_t guessesOfEach = 4;
    start(faillockStack());
    std::vector<pid_t> guessers;
    for (const uid_t user : {uid_t{caller}, other}) {
        guessers.push_back(fork());
        if (guessers.back() == 0) {
            if (setresuid(user, user, user) == 0) {
                guessAtOnce(guessesOfEach);
            }
            _exit(EXIT_SUCCESS);
        }
    }
    for (const pid_t guesser : guessers) {
        waitpid(guesser, nullptr, 0);
    }
    EXPECT_EQ(judgedGuesses(), 3U);
}

}  // namespace
}  // namespace velunor::testing
