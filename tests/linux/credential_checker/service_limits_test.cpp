// The service where many ask at once, or take long.

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/socket.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <chrono>
#include <filesystem>
#include <fstream>
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

constexpr std::size_t many = 8;

/// Settings of a client that waits less than many silent connections do, one after the other.
CredentialCheckerSettings impatientSettings() {
    CredentialCheckerSettings settings = CheckerServiceRunner::settings();
    settings.timeout = seconds{5};
    return settings;
}

/// What a connection gets that says nothing: how many bytes, and when it is over.
ssize_t answerOfASilentConnection() {
    const FileDescriptor connection = CheckerServiceRunner::connection();
    std::array<char, 512> block{};
    return recv(connection.get(), block.data(), block.size(), MSG_WAITALL);
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

TEST(CheckerServiceLimits, RequestThatHasWaitedForTheServiceIsAnswered) {
    EXPECT_EQ(
        onServiceMachine(
            stackOf("accept"),
            [] {
                const CheckerServiceRunner service;
                FileDescriptor connection;
                service.whileStopped([&] {
                    connection = CheckerServiceRunner::connection();
                    static_cast<void>(writeWhole(connection.get(), requestFor("alice", "right")));
                    shutdown(connection.get(), SHUT_WR);
                });
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
    EXPECT_EQ(onServiceMachine(stackOf("hang"),
                               [] {
                                   const CheckerServiceRunner service;
                                   const FileDescriptor asking = CheckerServiceRunner::connection();
                                   std::string seen;
                                   static_cast<void>(eventually(
                                       [&] {
                                           const auto processes = service.processes();
                                           seen = processes.empty() ? "" : processes.front();
                                           return seen.starts_with("osupdate");
                                       },
                                       seconds{10}));
                                   return seen.substr(0, seen.find(' '));
                               }),
              "osupdate-checkp");
}

TEST(CheckerServiceLimits, SocketStaysHoweverOftenSomebodyConnects) {
    EXPECT_EQ(unitValue(CHECKPASS_SOCKET_UNIT, "TriggerLimitIntervalSec"), 0);
    EXPECT_EQ(unitValue(CHECKPASS_UNIT, "StartLimitIntervalSec"), 0);
}

}  // namespace
}  // namespace velunor::testing
