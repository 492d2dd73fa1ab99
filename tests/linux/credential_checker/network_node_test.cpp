// A network node, with scripts in the place of the credential checker.

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/wait.h>

#include <algorithm>
#include <cstdlib>
#include <filesystem>

#include "platform/linux/directory/directory_service.h"
#include "tests/linux/credential_checker/checker_support.h"
#include "tests/support/forked_copy.h"
#include "tests/support/temporary_directory.h"

namespace velunor::testing {
namespace {

using ::testing::HasSubstr;
using ::testing::Not;
using ::testing::StartsWith;

constexpr const char* nothingWrong = "ready";

class NetworkNode : public ::testing::Test {
  protected:
    /// What opening a node tells whose checker runs these commands of the shell.
    std::string opening(const std::string& commands) {
        const auto node = open(commands);
        return node ? nothingWrong : description(node.error());
    }

    /// What a check tells once such a checker is ready.
    std::string answerOf(const std::string& commands) {
        const auto node = open("echo ready; " + commands);
        return node ? checkedBy(**node) : description(node.error());
    }

    DirectoryResult<DirectoryNodePointer> open(const std::string& commands) {
        return openNetworkNode(script(directory_.file("checker"), commands), settings);
    }

    static std::string checkedBy(DirectoryNode& node) {
        const auto error = node.setCredentials("alice", Secret("right"));
        return error ? description(*error) : "accepted";
    }

    static std::string description(const DirectoryError& error) {
        return error.domain + " " + std::to_string(error.code) + " " + error.message;
    }

    [[nodiscard]] std::string file(const std::string& name) const { return directory_.file(name); }
    [[nodiscard]] std::string contentOf(const std::string& name) const {
        return directory_.read(name);
    }

    DirectoryNodeSettings settings{.uri = "ldaps://host",
                                   .userBase = "ou=people, dc=example",
                                   .userFilter = "(uid=%u)",
                                   .certificateAuthorities = "",
                                   .timeout = std::chrono::seconds{7}};

  private:
    TemporaryDirectory directory_;
};

TEST_F(NetworkNode, CheckerGetsTheServersDescription) {
    EXPECT_EQ(opening("for each; do echo \"[$each]\"; done >" + file("seen") + "; echo ready"),
              nothingWrong);
    EXPECT_EQ(contentOf("seen"),
              "[ldap]\n[ldaps://host]\n[ou=people, dc=example]\n[(uid=%u)]\n[]\n[7]\n");
}

TEST_F(NetworkNode, CheckerGetsNothingOfTheCallersEnvironment) {
    for (const char* name : {"SSLKEYLOGFILE", "GNUTLS_DEBUG_LEVEL", "LDAPTLS_REQCERT", "HOME"}) {
        setenv(name, "/tmp/x", 0);
    }
    EXPECT_EQ(opening("cat /proc/$$/environ >" + file("seen") + "; echo ready"), nothingWrong);
    for (const char* name : {"SSLKEYLOGFILE", "GNUTLS_DEBUG_LEVEL", "LDAPTLS_REQCERT"}) {
        unsetenv(name);
    }
    const std::string seen = contentOf("seen");
    EXPECT_THAT(seen, StartsWith("PATH=/usr/sbin:/usr/bin:/sbin:/bin"));
    EXPECT_THAT(seen, Not(HasSubstr("TLS")));
    EXPECT_THAT(seen, Not(HasSubstr("SSL")));
    EXPECT_THAT(seen, Not(HasSubstr("HOME")));
}

TEST_F(NetworkNode, ErrorBeforeItIsReadyIsThatOfOpening) {
    EXPECT_EQ(opening("echo 'refused -1 The server cannot be reached: Käse'; exit 1"),
              "LDAP -1 The server cannot be reached: Käse");
    EXPECT_EQ(opening("echo 'refused 50 a\tb'"), "LDAP 50 a\\tb");
}

TEST_F(NetworkNode, ErrorAfterItIsReadyIsThatOfTheCheck) {
    EXPECT_EQ(answerOf("cat >/dev/null; echo 'refused 49 Invalid credentials'; exit 1"),
              "LDAP 49 Invalid credentials");
}

TEST_F(NetworkNode, RequestHasBothTextsAndAnEnd) {
    EXPECT_EQ(answerOf("cat >" + file("request") + "; echo accepted"), "accepted");
    EXPECT_EQ(contentOf("request"), requestFor("alice", "right"));
}

TEST_F(NetworkNode, CheckerThatIsNeverReadyIsAnErrorOfOpening) {
    EXPECT_EQ(opening(":"), "Checker 61 no answer: No data available");
    for (const char* commands : {"echo", "echo Ready", "echo accepted", "printf ready",
                                 "echo 'refused 0 x'", "echo refused"}) {
        EXPECT_EQ(opening(commands), "Checker 71 answer: Protocol error") << commands;
    }
}

TEST_F(NetworkNode, OtherAnswersThanOneLineAreNone) {
    for (const char* commands : {"cat >/dev/null", "kill -SEGV $$"}) {
        EXPECT_EQ(answerOf(commands), "Checker 61 no answer: No data available") << commands;
    }
    for (const char* commands : {"cat >/dev/null; echo ready", "echo accepted; echo accepted",
                                 "printf accepted", "echo 'refused 0 x'"}) {
        EXPECT_EQ(answerOf(commands), "Checker 71 answer: Protocol error") << commands;
    }
    EXPECT_EQ(answerOf("cat >/dev/null; echo accepted; exit 1"),
              "Checker 71 end of the program: Protocol error");
}

TEST_F(NetworkNode, SilentCheckerIsEndedWithItsGroupAtTheLimit) {
    settings.timeout = std::chrono::seconds{0};
    const std::string tell = "echo $$ >" + file("pid") + "; ";
    for (const bool isReady : {false, true}) {
        std::string answer;
        const auto duration = durationOf([&] {
            answer = isReady ? answerOf(tell + "sleep 600; sleep 600")
                             : opening(tell + "sleep 600; sleep 600");
        });
        EXPECT_EQ(answer, "Checker 110 no answer: Connection timed out");
        EXPECT_LT(duration, std::chrono::seconds{10});
        EXPECT_TRUE(endsSoon(std::stoi(contentOf("pid"))));
    }
}

TEST_F(NetworkNode, CheckerOfANodeThatNobodyAsksEndsWithIt) {
    {
        const auto node = open("echo $$ >" + file("pid") + "; echo ready; sleep 600; sleep 600");
        ASSERT_TRUE(node);
    }
    EXPECT_TRUE(endsSoon(std::stoi(contentOf("pid"))));
}

TEST_F(NetworkNode, EachCheckHasAProcessOfItsOwn) {
    const auto opened =
        open("echo $$ >>" + file("pids") + "; echo ready; grep -qz right && echo accepted");
    ASSERT_TRUE(opened);
    DirectoryNode& node = **opened;
    EXPECT_EQ(checkedBy(node), "accepted");
    EXPECT_EQ(checkedBy(node), "accepted");
    const std::string pids = contentOf("pids");
    EXPECT_EQ(std::count(pids.begin(), pids.end(), '\n'), 2);
    EXPECT_NE(pids.substr(0, pids.size() / 2), pids.substr(pids.size() / 2));
}

TEST_F(NetworkNode, NoChildIsLeftBehind) {
    const auto outcome = inChild([&] {
        answerOf("cat >/dev/null; echo accepted");
        answerOf("exit 1");
        opening("exit 1");
        opening("echo ready; sleep 600");
        return std::string(waitpid(-1, nullptr, WNOHANG) < 0 ? "none" : "some");
    });
    EXPECT_EQ(outcome.text, "none");
}

TEST_F(NetworkNode, SettingWithANulStartsNothing) {
    settings.userBase += '\0';
    EXPECT_THAT(opening("touch " + file("asked") + "; echo ready"), HasSubstr("Invalid argument"));
    EXPECT_FALSE(std::filesystem::exists(file("asked")));
}

TEST_F(NetworkNode, ProgramThatIsMissingIsAnErrorOfOpening) {
    const auto node = openNetworkNode("/nonexistent", settings);
    ASSERT_FALSE(node);
    EXPECT_EQ(description(node.error()), "Checker 2 /nonexistent: No such file or directory");
}

}  // namespace
}  // namespace velunor::testing
