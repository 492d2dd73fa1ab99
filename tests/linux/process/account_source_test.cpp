// Accounts as the sources of the password database tell of them. The machine has one source alone,
// so that these stand in for the C library's call.

#include <gtest/gtest.h>
#include <pwd.h>

#include <array>
#include <cerrno>
#include <string>
#include <vector>

#include "platform/posix/password_database.h"
#include "platform/posix/process.h"

namespace {

/// What the source answers about a name: an error, or an account of this name that takes so much
/// room; about a number, an account without a name.
struct Source {
    bool isAsked = false;
    int error = 0;
    const char* name = nullptr;
    std::size_t room = 0;
    std::vector<std::size_t> offered{};
} source;

std::array<char, 10> text{};

}  // namespace

// NOLINTBEGIN(bugprone-reserved-identifier): the names that the linker gives.
extern "C" {

int __real_getpwnam_r(const char* name, passwd* record, char* buffer, std::size_t size,
                      passwd** found);

int __wrap_getpwnam_r(const char* name, passwd* record, char* buffer, std::size_t size,
                      passwd** found) {
    if (!source.isAsked) {
        return __real_getpwnam_r(name, record, buffer, size, found);
    }
    *found = nullptr;
    source.offered.push_back(size);
    if (source.error != 0 || size < source.room) {
        return source.error != 0 ? source.error : ERANGE;
    }
    if (source.name != nullptr) {
        std::string(source.name).copy(text.data(), text.size() - 1);
        *record = {};
        record->pw_name = text.data();
        *found = record;
    }
    return 0;
}

int __real_getpwuid_r(uid_t user, passwd* record, char* buffer, std::size_t size, passwd** found);

int __wrap_getpwuid_r(uid_t user, passwd* record, char* buffer, std::size_t size, passwd** found) {
    if (!source.isAsked) {
        return __real_getpwuid_r(user, record, buffer, size, found);
    }
    *record = {};
    *found = record;
    return 0;
}

}  // extern "C"
// NOLINTEND(bugprone-reserved-identifier)

namespace velunor::testing {
namespace {

class AccountSource : public ::testing::Test {
  protected:
    void SetUp() override { source.isAsked = true; }
    void TearDown() override { source = {}; }
};

TEST_F(AccountSource, TellsInSeveralWaysThatThereIsNoSuchAccount) {
    for (const int error : {0, ENOENT, ESRCH}) {
        source.error = error;
        const LocalAccountResult result = accountFoundAs("alice");
        EXPECT_FALSE(result.account);
        EXPECT_EQ(result.error, 0);
    }
}

TEST_F(AccountSource, ErrorIsGivenBack) {
    source.error = EIO;
    EXPECT_EQ(accountFoundAs("alice").error, EIO);
    EXPECT_FALSE(localAccountNamed("alice").account);
}

TEST_F(AccountSource, AccountOfAnotherSpellingIsFoundButIsNotTheOneOfThatName) {
    source.name = "alice";
    ASSERT_TRUE(accountFoundAs("Alice").account);
    EXPECT_EQ(accountFoundAs("Alice").account->name, "alice");
    EXPECT_FALSE(localAccountNamed("Alice").account);
    EXPECT_TRUE(localAccountNamed("alice").account);
}

TEST_F(AccountSource, AccountWithoutANameHasNone) {
    const auto entry = passwordEntryOf(4001);
    ASSERT_TRUE(entry);
    EXPECT_FALSE(entry->name);
    EXPECT_EQ(LinuxProcessInfo().userName(), "");
}

TEST_F(AccountSource, IsOfferedTwiceTheRoomUpToSixteenMebibytes) {
    source.name = "alice";
    source.room = 5000;
    EXPECT_TRUE(accountFoundAs("alice").account);
    EXPECT_EQ(source.offered, (std::vector<std::size_t>{1024, 2048, 4096, 8192}));
    source.offered.clear();
    source.room = SIZE_MAX;
    EXPECT_EQ(accountFoundAs("alice").error, ERANGE);
    EXPECT_EQ(source.offered.back(), 16'777'216U);
}

}  // namespace
}  // namespace velunor::testing
