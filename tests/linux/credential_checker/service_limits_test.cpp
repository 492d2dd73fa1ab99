// The service where many ask at once, or take long.

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <poll.h>
#include <sys/socket.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <chrono>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <thread>
#include <vector>

#include "tests/linux/credential_checker/checker_support.h"
#include "tests/linux/credential_checker/service_support.h"
#include "tests/support/forked_copy.h"
#include "tests/support/temporary_directory.h"
#include "tests/support/wait.h"
#include "tools/osupdate_checkpass/checker.h"

namespace velunor::testing {
namespace {

using std::chrono::milliseconds;
using std::chrono::seconds;
using ::testing::HasSubstr;

constexpr std::size_t many = 8;

/// Settings of a client that waits less than many silent connections do, one after the other.
CredentialCheckerSettings impatientSettings() {
    CredentialCheckerSettings settings = CheckerServiceRunner::settings();
    settings.timeout = seconds{5};
    return settings;
}

/// How many bytes a connection gets until it is over.
ssize_t answerOn(const FileDescriptor& connection) {
    std::array<char, 512> block{};
    return recv(connection.get(), block.data(), block.size(), MSG_WAITALL);
}

/// The same of one that says nothing.
ssize_t answerOfASilentConnection() {
    return answerOn(CheckerServiceRunner::connection());
}

TEST(CheckerServiceLimits, SilentConnectionEndsAfterASecond) {
    EXPECT_EQ(onServiceMachine(
                  stackOf("accept"),
                  [] {
                      const CheckerServiceRunner service;
                      const auto time = durationOf([] { answerOfASilentConnection(); });
                      return std::string(time >= milliseconds{900} ? "a second" : "at once") +
                             (time < seconds{4} ? "" : ", and more");
                  }),
              "a second");
}

TEST(CheckerServiceLimits, SilentConnectionsOfTheSameUserDoNotHinderACheck) {
    EXPECT_EQ(onServiceMachine(stackOf("accept"),
                               [] {
                                   const CheckerServiceRunner service;
                                   std::vector<FileDescriptor> silent(many);
                                   for (FileDescriptor& connection : silent) {
                                       connection = CheckerServiceRunner::connection();
                                   }
                                   return checked(impatientSettings());
                               }),
              "accepted");
}

TEST(CheckerServiceLimits, RequestsThatNobodyWaitsForTakeNoPlace) {
    const auto askAndGo = [] {
        const FileDescriptor connection = CheckerServiceRunner::connection();
        const std::string request = requestFor("alice", "right");
        send(connection.get(), request.data(), request.size(), MSG_NOSIGNAL);
    };
    EXPECT_EQ(onServiceMachine(stackOf("hang"),
                               [&] {
                                   const CheckerServiceRunner service;
                                   service.whileStopped([&] {
                                       for (std::size_t left = 0; left < 2 * many; ++left) {
                                           askAndGo();
                                       }
                                   });
                                   auto settings = CheckerServiceRunner::settings();
                                   settings.timeout = seconds{1};
                                   return checked(settings);
                               }),
              "Checker 110 no answer: Connection timed out");
}

TEST(CheckerServiceLimits, CallerHasSixteenPlacesAndNoMore) {
    constexpr std::size_t places = 16;
    const auto asksInVain = [](const FileDescriptor& connection) {
        pollfd entry{connection.get(), POLLIN, 0};
        return poll(&entry, 1, 0) == 0;
    };
    EXPECT_EQ(onServiceMachine(stackOf("hang"),
                               [&] {
                                   const CheckerServiceRunner service;
                                   std::vector<FileDescriptor> asking(places);
                                   for (FileDescriptor& connection : asking) {
                                       connection = CheckerServiceRunner::request();
                                   }
                                   // Who has a place is at least told that this is no request.
                                   const ssize_t told = answerOfASilentConnection();
                                   const auto waiting = std::ranges::count_if(asking, asksInVain);
                                   return std::to_string(waiting) + " wait, the next gets " +
                                          std::to_string(told) + " bytes";
                               }),
              "16 wait, the next gets 0 bytes");
}

TEST(CheckerServiceLimits, RequestThatHasWaitedForTheServiceIsAnswered) {
    EXPECT_EQ(onServiceMachine(
                  stackOf("accept"),
                  [] {
                      const CheckerServiceRunner service;
                      FileDescriptor connection;
                      service.whileStopped([&] { connection = CheckerServiceRunner::request(); });
                      std::array<char, 512> block{};
                      const ssize_t count =
                          recv(connection.get(), block.data(), block.size(), MSG_WAITALL);
                      return count > 0 ? std::string(block.data(), static_cast<std::size_t>(count))
                                       : std::string("nothing");
                  }),
              "accepted\n");
}

TEST(CheckerServiceLimits, ChurningConnectionsOfTheSameUserDoNotHinderChecks) {
    EXPECT_EQ(
        onServiceMachine(stackOf("accept"),
                         [] {
                             const CheckerServiceRunner service;
                             std::vector<std::jthread> churners(many);
                             for (std::jthread& churner : churners) {
                                 churner = std::jthread([](const std::stop_token& stop) {
                                     while (!stop.stop_requested()) {
                                         static_cast<void>(CheckerServiceRunner::connection());
                                     }
                                 });
                             }
                             std::string answers;
                             for (int check = 0; check < 3; ++check) {
                                 answers += checked(impatientSettings()) + ",";
                             }
                             return answers;
                         }),
        "accepted,accepted,accepted,");
}

TEST(CheckerServiceLimits, GuessesAtOnceMeetFaillockOneAfterTheOther) {
    const TemporaryDirectory directory;
    directory.write("passwd", "alice:x:4003:4003::/:/bin/sh\n");
    EXPECT_EQ(onServiceMachine(faillockStack(),
                               [&] {
                                   mountFileOver(directory.file("passwd"), "/etc/passwd");
                                   const CheckerServiceRunner service;
                                   guessAtOnce(many);
                                   return std::to_string(judgedGuesses()) + " judged, then " +
                                          checked(CheckerServiceRunner::settings());
                               }),
              "3 judged, then PAM 7 Authentication failure");
}

TEST(CheckerServiceLimits, ModuleThatWaitsBeforeItAsksForThePasswordIsWaitedFor) {
    EXPECT_EQ(onServiceMachine(stackOf("accept-after-ten-seconds"),
                               [] {
                                   const CheckerServiceRunner service;
                                   return checked(CheckerServiceRunner::settings());
                               }),
              "accepted");
}

TEST(CheckerServiceLimits, WhoWaitsIsMorePatientThanWhoAnswers) {
    // What a fingerprint's module waits by default.
    constexpr seconds fingerprint{30};
    EXPECT_GT(CheckerLimits().check, fingerprint);
    EXPECT_GT(CredentialCheckerSettings().timeout, CheckerLimits().check + CheckerLimits().request);
}

TEST(CheckerServiceLimits, AreThoseThatTheManPageTells) {
    const auto packaging = std::filesystem::path(CHECKPASS_UNIT).parent_path();
    std::ifstream file(packaging / "man/osupdate-checkpass.8.scd");
    const std::string page{std::istreambuf_iterator<char>(file), {}};
    const CheckerLimits limits;
    EXPECT_EQ(limits.check, seconds{40});
    EXPECT_THAT(page, HasSubstr("complete after 40 seconds"));
    EXPECT_EQ(limits.request, seconds{1});
    EXPECT_THAT(page, HasSubstr("complete a second after the connection"));
    EXPECT_EQ(limits.idle, std::chrono::minutes{1});
    EXPECT_THAT(page, HasSubstr("ends after a minute without any"));
}

TEST(CheckerServiceLimits, ServiceThatNobodyAsksEndsAfterItsLastCheck) {
    EXPECT_EQ(onServiceMachine(stackOf("accept"),
                               [] {
                                   CheckerServiceRunner service(IMPATIENT_CHECKER_PROGRAM);
                                   const std::string answer =
                                       checked(CheckerServiceRunner::settings());
                                   return answer + ", " + std::to_string(service.waitForEnd());
                               }),
              "accepted, 0");
}

TEST(CheckerServiceLimits, ServiceStaysForAWhileBeforeItIsAsked) {
    EXPECT_EQ(
        onServiceMachine(stackOf("accept"),
                         [] {
                             const auto time = durationOf([] {
                                 CheckerServiceRunner service(IMPATIENT_CHECKER_PROGRAM);
                                 service.waitForEnd();
                             });
                             return std::string(time >= milliseconds{700} ? "a while" : "at once");
                         }),
        "a while");
}

TEST(CheckerServiceLimits, ProcessThatHasAnsweredIsGoneSoon) {
    EXPECT_EQ(onServiceMachine(stackOf("accept"),
                               [] {
                                   const CheckerServiceRunner service;
                                   const std::string answer =
                                       checked(CheckerServiceRunner::settings());
                                   const bool gone = eventually(
                                       [&] { return service.processes().empty(); }, seconds{10});
                                   return answer + (gone ? ", gone" : ", still there");
                               }),
              "accepted, gone");
}

TEST(CheckerServiceLimits, ProcessThatAnswersHasTheProgramsName) {
    const std::string names = "osupdate-checkp osupdate-checkpass";
    EXPECT_EQ(onServiceMachine(stackOf("hang"),
                               [&] {
                                   const CheckerServiceRunner service;
                                   const FileDescriptor asking = CheckerServiceRunner::request();
                                   std::string seen;
                                   static_cast<void>(eventually(
                                       [&] {
                                           const auto processes = service.processes();
                                           seen = processes.empty() ? "" : processes.front();
                                           return seen == names;
                                       },
                                       seconds{10}));
                                   return seen;
                               }),
              names);
}

TEST(CheckerServiceLimits, ProcessThatCannotStartIsNoAnswerAtOnce) {
    EXPECT_EQ(onServiceMachine(
                  stackOf("accept"),
                  [] {
                      const std::string program = ownCopyOf(CHECKPASS_PROGRAM);
                      const CheckerServiceRunner service(program);
                      const bool isAnswered = answerOn(CheckerServiceRunner::request()) > 0;
                      std::filesystem::permissions(program, std::filesystem::perms::owner_read);
                      const bool isStillAnswered = answerOn(CheckerServiceRunner::request()) > 0;
                      return std::string(isAnswered ? "an answer" : "none") +
                             (isStillAnswered ? ", another one" : ", then none");
                  }),
              "an answer, then none");
}

TEST(CheckerServiceLimits, SocketStaysHoweverOftenSomebodyConnects) {
    EXPECT_EQ(unitValue(CHECKPASS_SOCKET_UNIT, "TriggerLimitIntervalSec"), 0);
    EXPECT_EQ(unitValue(CHECKPASS_UNIT, "StartLimitIntervalSec"), 0);
}

}  // namespace
}  // namespace velunor::testing
