// Every line that a whole prompt with credentials writes to the system log, in its order.
// To see a transcript anew after an intended change, read what a failing test prints.

#include "tests/support/prompt/transcript.h"

#include "tests/e2e/credentials/credentials_test.h"

namespace velunor::testing {
namespace {

class CredentialsTranscript : public CredentialsTest {
  protected:
    /// Starts a prompt whose log has every line that comes by itself, those of other threads too.
    void startAndRest() {
        // Neither a picture nor a login manager, so that no line comes at a time of its own.
        writeFile(user.home + "/.face", "not a picture");
        startService();
        startPrompt();
        ASSERT_TRUE(waitForLog("No idle inhibitor available\n")) << systemLog();
        ASSERT_TRUE(waitForLog("Dock bounce (critical) triggered at ")) << systemLog();
    }

    void expectGolden(const std::string& name) {
        std::string log = replaced(systemLog(), testing::reachable(PROMPT_PROGRAM), "PROGRAM");
        log = replaced(log, tokenToolPath, "TOOL");
        const std::string expected = goldenTranscript(name, reachable(GOLDEN_DIRECTORY));
        EXPECT_FALSE(expected.empty()) << "no transcript " << name;
        EXPECT_EQ(normalizedTranscript(log, directory(), process().id()), expected);
    }
};

TEST_F(CredentialsTranscript, RightPassword) {
    startAndRest();
    typePassword(password);
    clickToTheEnd("Go ahead");
    expectGolden("credentials_right_password");
}

TEST_F(CredentialsTranscript, WrongPasswordThenPostpone) {
    startAndRest();
    typePassword("wrong");
    updateNowUntil("Failed to validate credentials ada\n");
    clickToTheEnd("Later");
    expectGolden("credentials_wrong_password");
}

TEST_F(CredentialsTranscript, UserWithoutTokenThenPostpone) {
    addAccount("bob", password);
    startAndRest();
    typeUserName("bob");
    updateNowUntil("Secure Token not enabled for bob\n");
    clickToTheEnd("Later");
    expectGolden("credentials_without_token");
}

TEST_F(CredentialsTranscript, PasswordOfANetworkAccount) {
    testing::LdapServer server;
    server.addAccount("eve", password);
    search(R"("/Local/Default", "/LDAPv3/corp")");
    addNode("corp", server);
    startAndRest();
    typeUserName("eve");
    typePassword(password);
    clickToTheEnd("Go ahead");
    expectGolden("credentials_network_account");
}

}  // namespace
}  // namespace velunor::testing
