// A credential checker, or a PAM behind it, that is out of order: the prompt says so in its log,
// refuses, and goes on.

#include "tests/e2e/credentials/credentials_test.h"

namespace velunor::testing {
namespace {

class CredentialChecker : public CredentialsTest {
  protected:
    /// PAM's only module behaves like this from now on.
    static void usePamModule(const std::string& behaviour) {
        const testing::AsRoot root;
        const std::string line =
            " required " + testing::reachable(PAM_TEST_MODULE) + " " + behaviour + "\n";
        writeFile(pamServicePath, "auth" + line + "account" + line);
    }

    /// A checker that waits for PAM less long than the real one is in its place, up to the repair.
    static void useImpatientChecker() {
        const testing::AsRoot root;
        testing::Machine::run(
            {"install", "-m", "755", IMPATIENT_CHECKER_PROGRAM, credentialCheckerPath});
    }

    /// A script is in the place of the checker from now on.
    static void useProgram(const std::string& commands) {
        const testing::AsRoot root;
        writeFile(credentialCheckerPath, "#!/bin/sh\n" + commands + "\n");
    }

    /// More than the prompt waits for the checker.
    static constexpr std::chrono::seconds longestCheck{90};

    /// Expects that the right password is refused with this error, and is taken by the same window
    /// once everything is in its place again.
    void expectRefusedUntilRepaired(const std::string& error) {
        startService();
        startPrompt();
        typePassword(password);
        ASSERT_TRUE(clickButton("Go ahead")) << systemLog();
        ASSERT_TRUE(eventually([&] { return logged("Failed to validate credentials ada\n"); },
                               longestCheck))
            << systemLog();
        EXPECT_TRUE(logged("Credentails Error Error Domain=" + error)) << systemLog();
        EXPECT_FALSE(logged("Password validated Successfully"));
        EXPECT_TRUE(requests().empty());
        installCredentialChecker();
        clickToTheEnd("Go ahead");
        EXPECT_TRUE(deliveredCredentials("ada", password)) << delivered();
    }
};

class FaultyPam : public CredentialChecker, public ::testing::WithParamInterface<std::string> {};

TEST_P(FaultyPam, RefusesAndLeavesTheWindowUsable) {
    usePamModule(GetParam());
    useImpatientChecker();
    expectRefusedUntilRepaired("PAM Code=26 ");
}

TEST_P(FaultyPam, OfTheSystemServiceRefusesAndLeavesTheWindowUsable) {
    usePamModule(GetParam());
    useImpatientChecker();
    startCheckerService();
    expectRefusedUntilRepaired("PAM Code=26 ");
}

INSTANTIATE_TEST_SUITE_P(CredentialChecker, FaultyPam, ::testing::Values("hang", "crash", "exit"),
                         [](const auto& instance) { return instance.param; });

TEST_F(CredentialChecker, ThatIsMissingRefusesAndLeavesTheWindowUsable) {
    {
        const testing::AsRoot root;
        std::filesystem::remove(credentialCheckerPath);
    }
    expectRefusedUntilRepaired("Checker Code=2 ");
}

TEST_F(CredentialChecker, ThatHangsRefusesAndLeavesTheWindowUsable) {
    useProgram("sleep 600");
    expectRefusedUntilRepaired("Checker Code=110 ");
}

TEST_F(CredentialChecker, ThatCrashesRefusesAndLeavesTheWindowUsable) {
    useProgram("kill -SEGV $$");
    expectRefusedUntilRepaired("Checker Code=61 ");
}

}  // namespace
}  // namespace velunor::testing
