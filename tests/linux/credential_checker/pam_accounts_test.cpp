// The checker with the installed PAM stack and a machine's accounts.

#include <crypt.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <regex>
#include <sstream>

#include "tests/linux/credential_checker/checker_support.h"
#include "tests/support/forked_copy.h"
#include "tests/support/temporary_directory.h"

namespace velunor::testing {
namespace {

std::string hashOf(const char* password) {
    crypt_data data{};
    return crypt_r(password, "$6$saltsalt$", &data);
}

std::string contentOf(const std::string& path) {
    std::ostringstream content;
    content << std::ifstream(path).rdbuf();
    return content.str();
}

/// The answer of the checker as root of a machine with these accounts, whose passwords are all
/// "right".
std::string answerTo(const std::string& userName, const std::string& password) {
    const TemporaryDirectory directory;
    const std::string hash = hashOf("right");
    const std::string usual = ":19000:0:99999:7:::\n";
    std::string accounts = "root:x:0:0::/:/bin/sh\n";
    for (const char* name : {"alice", "expired", "locked", "old", "stale", "open"}) {
        accounts += name + std::string(":x:4001:4001::/:/bin/sh\n");
    }
    directory.write("passwd", accounts);
    directory.write("shadow", "root:*" + usual + "alice:" + hash + usual +  //
                                  "expired:" + hash + ":19000:0:99999:7::1:\n" + "locked:!" + hash +
                                  usual +  //
                                  "old:" + hash + ":0:0:99999:7:::\n" + "stale:" + hash +
                                  ":100:0:10:7:10::\n" +  //
                                  "open:" + usual);
    // Wrong passwords cost no delay here.
    const std::string authentication = std::regex_replace(
        contentOf("/etc/pam.d/common-auth"), std::regex("pam_unix\\.so"), "$& nodelay");
    const std::string account = contentOf("/etc/pam.d/common-account");
    return withPam(contentOf(PAM_SERVICE_FILE), [&] {
        std::ofstream("/etc/pam.d/common-auth") << authentication << std::flush;
        std::ofstream("/etc/pam.d/common-account") << account << std::flush;
        mountFileOver(directory.file("passwd"), "/etc/passwd");
        mountFileOver(directory.file("shadow"), "/etc/shadow");
        return checkerAnswer(requestFor(userName, password));
    });
}

constexpr const char* failure = "refused 7 Authentication failure\n1";

TEST(PamAccounts, RightPassword) {
    EXPECT_EQ(answerTo("alice", "right"), "accepted\n0");
}

TEST(PamAccounts, WrongPassword) {
    EXPECT_EQ(answerTo("alice", "wrong"), failure);
    EXPECT_EQ(answerTo("alice", "right "), failure);
    EXPECT_EQ(answerTo("alice", "Right"), failure);
}

TEST(PamAccounts, HashIsNoPassword) {
    EXPECT_EQ(answerTo("alice", hashOf("right")), failure);
}

TEST(PamAccounts, UnknownAccount) {
    EXPECT_TRUE(answerTo("nobody-of-that-name", "right").starts_with("refused "));
    EXPECT_TRUE(answerTo("alice:", "right").starts_with("refused "));
    EXPECT_TRUE(answerTo("../alice", "right").starts_with("refused "));
}

TEST(PamAccounts, UnusualNamesAreRefused) {
    for (const char* name : {"alice ", " alice", "two words", "\"alice\"", "'alice'", "*",
                             "(alice)", "ali\\ce", "alice\n", "alice\nroot", "-alice", "%s%n",
                             "$(id)", "Ωμέγα", "用户", "مستخدم", "alic\xFF"}) {
        const std::string answer = answerTo(name, "right");
        EXPECT_TRUE(answer.starts_with("refused ") && answer.ends_with("\n1")) << name << answer;
    }
    // More than a request may hold.
    EXPECT_EQ(answerTo(std::string(10'000, 'a'), "right"), "refused 19 Conversation error\n1");
}

TEST(PamAccounts, ExpiredAccount) {
    // What the stack makes of every reason that it does not name.
    EXPECT_EQ(answerTo("expired", "right"), failure);
}

TEST(PamAccounts, LockedAccount) {
    EXPECT_EQ(answerTo("locked", "right"), failure);
}

TEST(PamAccounts, PasswordThatMustBeChanged) {
    EXPECT_EQ(answerTo("old", "right"),
              "refused 12 Authentication token is no longer valid; new one required\n1");
}

TEST(PamAccounts, PasswordThatWasNotChangedInTime) {
    EXPECT_TRUE(answerTo("stale", "right").starts_with("refused "));
}

TEST(PamAccounts, AccountWithoutAPassword) {
    EXPECT_EQ(answerTo("open", "right"), failure);
    EXPECT_EQ(answerTo("open", "x"), failure);
}

}  // namespace
}  // namespace velunor::testing
