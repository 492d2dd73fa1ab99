// Where a typed password may be: in the field while the prompt is open, and in the one message.

#include <fcntl.h>
#include <unistd.h>

#include "tests/e2e/credentials/credentials_test.h"
#include "tests/e2e/credentials/memory.h"

namespace velunor::testing {

namespace {

class Secrecy : public CredentialsTest {};

TEST_F(Secrecy, DeliveredPasswordIsNowhereButInTheMessage) {
    startCheckerService();
    startService(Treatment::answerWhenTold);
    startPrompt();
    typePassword(password);
    ASSERT_TRUE(eventually([&] { return !tracesOf(process().id(), password).empty(); }))
        << "the search finds nothing at all";
    ASSERT_TRUE(clickButton("Go ahead"));
    ASSERT_TRUE(eventually([&] { return requests().size() == 1; })) << systemLog();
    expectMemoryHoldsOnlyTheMessage(password);
    service().answerNow();
    ASSERT_EQ(process().wait(), (Ending{0, 0})) << systemLog();
    EXPECT_TRUE(deliveredCredentials("ada", password)) << delivered();
    expectNoFileHolds(password);
}

TEST_F(Secrecy, PasswordThatADirectoryAcceptedIsNowhereInThePromptButInTheMessage) {
    testing::LdapServer server;
    server.addAccount("eve", password);
    search(R"("/LDAPv3/corp")");
    addNode("corp", server);
    startService(Treatment::answerWhenTold);
    startPrompt();
    typeUserName("eve");
    typePassword(password);
    ASSERT_TRUE(clickButton("Go ahead"));
    ASSERT_TRUE(eventually([&] { return requests().size() == 1; })) << systemLog();
    for (const Trace& trace : tracesOf(process().id(), password)) {
        EXPECT_TRUE(trace.coding == "bytes" && trace.before.ends_with(R"("passwd":")")) << trace;
    }
    service().answerNow();
    ASSERT_EQ(process().wait(), (Ending{0, 0})) << systemLog();
    EXPECT_TRUE(deliveredCredentials("eve", password)) << delivered();
}

TEST_F(Secrecy, KeysOfTheConnectionToADirectoryAreNotWrittenDown) {
    testing::LdapServer server;
    server.addAccount("eve", password);
    search(R"("/LDAPv3/corp")");
    addNode("corp", server);
    startService();
    const auto keys = directory() / "keys";
    environment()["SSLKEYLOGFILE"] = keys;
    environment()["GNUTLS_DEBUG_LEVEL"] = "9";
    startPrompt();
    typeUserName("eve");
    typePassword(password);
    clickToTheEnd("Go ahead");
    EXPECT_TRUE(deliveredCredentials("eve", password)) << delivered();
    EXPECT_FALSE(std::filesystem::exists(keys));
    EXPECT_EQ(systemLog().find("KEY ["), std::string::npos);
}

TEST_F(Secrecy, RefusedPasswordIsNowhereButInThePrompt) {
    const std::string wrong = testing::newPassword();
    startCheckerService();
    startService();
    startPrompt();
    typePassword(wrong);
    updateNowUntil("Failed to validate credentials ada\n");
    for (const pid_t other : otherProcesses()) {
        if (other != process().id()) {
            for (const Trace& trace : tracesOf(other, wrong)) {
                ADD_FAILURE() << trace;
            }
        }
    }
    // The field's own text is the only one.
    EXPECT_EQ(tracesOf(process().id(), wrong).size(), 1U)
        << ::testing::PrintToString(tracesOf(process().id(), wrong));
    clickToTheEnd("Later");
    expectNoFileHolds(wrong);
}

TEST_F(Secrecy, MemoryOfThePromptIsClosedToTheUsersOtherPrograms) {
    startPrompt();
    const std::string memory = "/proc/" + std::to_string(process().id()) + "/mem";
    const int descriptor = ::open(memory.c_str(), O_RDONLY | O_CLOEXEC);
    EXPECT_LT(descriptor, 0);
    if (descriptor >= 0) {
        ::close(descriptor);
    }
}

}  // namespace
}  // namespace velunor::testing
