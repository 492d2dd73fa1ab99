// A credential checker that is killed, hangs or lies, and a directory server that drips: no
// password is taken that was not checked, and the same window takes the right one afterwards.

#include <gmock/gmock.h>

#include <csignal>
#include <optional>

#include "tests/e2e/faults/fault_test.h"
#include "tests/linux/directory/ldap_peers.h"

namespace velunor::testing {
namespace {

using ::testing::IsEmpty;

constexpr const char* checkerSocketPath = "/run/velunor/osupdate-checkpass.socket";

class CheckerFault : public FaultTest {
  protected:
    /// Commands of a shell are in the place of the checker from now on.
    static void useProgram(const std::string& commands) {
        const AsRoot root;
        writeFile(credentialCheckerPath, "#!/bin/sh\n" + commands + "\n");
    }

    /// PAM's only module behaves like this from now on.
    static void usePamModule(const std::string& behaviour) {
        const AsRoot root;
        const std::string line = " required " + reachable(PAM_TEST_MODULE) + " " + behaviour + "\n";
        writeFile(pamServicePath, "auth" + line + "account" + line);
    }

    /// Clicks Update Now and waits until the password is refused once more.
    void expectRefusal(const std::string& name = "ada") {
        const std::string refusal = "Failed to validate credentials " + name + "\n";
        const std::size_t before = timesLogged(refusal);
        clickUpdateNow();
        ASSERT_TRUE(eventually([&] { return timesLogged(refusal) == before + 1; })) << systemLog();
        expectNothingAccepted();
    }

    void expectNothingAccepted() {
        EXPECT_FALSE(logged("Validation Success"));
        EXPECT_FALSE(logged("Password validated Successfully"));
        EXPECT_THAT(serviceProcess().messages(), IsEmpty());
        expectSound();
    }

    /// The same window and the same password, with everything in its place again.
    void expectAcceptedOnceRepaired() {
        installCredentialChecker();
        answerUntilTheServiceHasIt();
        expectEnd({0, 0});
        expectOneAnswer();
    }

    /// The processes of the checker, once one of them has a password to check.
    static std::vector<pid_t> checkersAtWork() {
        std::vector<pid_t> checkers;
        // The one that asks PAM is the child of the one that was started.
        EXPECT_TRUE(eventually([&] {
            checkers = processesNamed("osupdate-checkp");
            return checkers.size() > 1;
        }));
        return checkers;
    }

    /// Kills the prompt: its checker ends too, at its own limit.
    void expectNothingLeftOfAKilledPrompt() {
        process().sendSignal(SIGKILL);
        expectEnd({-1, SIGKILL});
        EXPECT_THAT(serviceProcess().messages(), IsEmpty());
        EXPECT_EQ(accessLog().starts, 1U);
        EXPECT_EQ(accessLog().ends, 0U);
    }

    /// A directory server that knows eve and the user's password answers byte by byte.
    void useDrippingDirectory() {
        server_.emplace();
        server_->addAccount("eve", password);
        relay_.emplace(server_->tlsPort(), [](bool fromClient, const std::string&) {
            return fromClient ? Relay::Verdict::pass : Relay::Verdict::passSlowly;
        });
        search(R"("/LDAPv3/corp")");
        addNode("corp", "ldaps://127.0.0.1:" + std::to_string(relay_->port()),
                server_->authorities());
    }
    [[nodiscard]] int drippingConnections() const { return relay_->connections(); }
    /// Ends the server, which knows the password; what it has said goes on to drip.
    void stopDirectory() { server_.reset(); }

    static void killAll(const std::vector<pid_t>& processes) {
        const AsRoot root;
        for (const pid_t process : processes) {
            ::kill(process, SIGKILL);
        }
    }

  private:
    std::optional<LdapServer> server_;
    std::optional<Relay> relay_;
};

TEST_F(CheckerFault, ThatLiesIsNeverBelieved) {
    startServiceProcess("answer");
    startWithPassword();
    for (const char* lie :
         {"cat >/dev/null; printf accep", "cat >/dev/null; printf accepted",
          "cat >/dev/null; printf 'accepted \\n'",
          "cat >/dev/null; printf 'accepted\\naccepted\\n'",
          "cat >/dev/null; printf '\\000accepted\\n'",
          "cat >/dev/null; printf 'ready\\naccepted\\n'", "cat >/dev/null; printf 'refused'",
          "cat >/dev/null; printf 'accepted\\n'; exit 1",
          "cat >/dev/null; printf 'accepted\\n'; kill -KILL $$", "cat /dev/zero", "exit 0"}) {
        SCOPED_TRACE(lie);
        useProgram(lie);
        expectRefusal();
    }
    expectAcceptedOnceRepaired();
}

TEST_F(CheckerFault, OfTheSystemThatLiesIsNotBelieved) {
    startServiceProcess("answer");
    const std::string script = "/run/velunor/bin/liar";
    {
        const AsRoot root;
        writeFile(script, "#!/bin/sh\ncat >/dev/null\nprintf accep\n");
        std::filesystem::permissions(script, std::filesystem::perms(0755));
    }
    std::optional<ChildProcess> liar;
    {
        const AsRoot root;
        liar.emplace(Command{.arguments = {"systemd-socket-activate", "--accept", "--inetd",
                                           std::string("--listen=") + checkerSocketPath, script},
                             .environment = {{"PATH", "/usr/sbin:/usr/bin:/sbin:/bin"}}});
        ASSERT_TRUE(eventually([] { return std::filesystem::exists(checkerSocketPath); }));
        std::filesystem::permissions(checkerSocketPath, std::filesystem::perms(0666));
    }
    startWithPassword();
    expectRefusal();
    {
        const AsRoot root;
        liar.reset();
        std::filesystem::remove(checkerSocketPath);
    }
    expectAcceptedOnceRepaired();
}

TEST_F(CheckerFault, ThatIsKilledInTheCheckRefuses) {
    startServiceProcess("answer");
    usePamModule("hang");
    startWithPassword();
    clickUpdateNow();
    killAll(checkersAtWork());
    ASSERT_TRUE(waitForLog("Failed to validate credentials ada\n")) << systemLog();
    EXPECT_TRUE(logged("Credentails Error Error Domain=Checker Code=61 ")) << systemLog();
    expectNothingAccepted();
    expectAcceptedOnceRepaired();
}

TEST_F(CheckerFault, OfTheSystemThatIsKilledInTheCheckCostsNoRightPassword) {
    startServiceProcess("answer");
    usePamModule("hang");
    startCheckerService();
    startWithPassword();
    clickUpdateNow();
    const std::vector<pid_t> checkers = checkersAtWork();
    installCredentialChecker();
    killAll(checkers);
    // The prompt asks again by itself.
    expectEnd({0, 0});
    expectOneAnswer();
    EXPECT_EQ(timesLogged("Update Now Clicked\n"), 1U);
}

TEST_F(CheckerFault, DisplayThatIsKilledInTheCheckLeavesNothing) {
    startServiceProcess("answer");
    usePamModule("hang");
    startWithPassword();
    clickUpdateNow();
    const std::vector<pid_t> checkers = checkersAtWork();
    display().killServer();
    killAll(checkers);
    expectEnd({1, 0});
    EXPECT_TRUE(logged("The display was lost\n")) << systemLog();
    EXPECT_THAT(serviceProcess().messages(), IsEmpty());
}

TEST_F(CheckerFault, RequestToEndInTheCheckIsHeardBehindIt) {
    startServiceProcess("answer");
    usePamModule("hang");
    startWithPassword();
    clickUpdateNow();
    const std::vector<pid_t> checkers = checkersAtWork();
    process().sendSignal(SIGTERM);
    killAll(checkers);
    expectEnd({0, 0});
    EXPECT_TRUE(logged("Failed to validate credentials ada\n")) << systemLog();
    EXPECT_THAT(serviceProcess().messages(), IsEmpty());
    EXPECT_EQ(accessLog().ends, 0U);
}

TEST_F(CheckerFault, PromptThatIsKilledInTheCheckLeavesNoCheckerBeyondItsLimit) {
    startServiceProcess("answer");
    usePamModule("hang");
    const std::filesystem::path asked = directory() / "asked";
    const std::string request = directory() / "request";
    // It has the whole request when it says so.
    useProgram("cat >" + request + "; exec <" + request + "; rm " + request + "; : >" +
               asked.string() + "; exec " + reachable(IMPATIENT_CHECKER_PROGRAM));
    startWithPassword();
    clickUpdateNow();
    ASSERT_TRUE(eventually([&] { return std::filesystem::remove(asked); }));
    expectNothingLeftOfAKilledPrompt();
}

TEST_F(CheckerFault, DirectoryThatDripsIsARefusalInTime) {
    useDrippingDirectory();
    startServiceProcess("answer");
    noteBefore();
    startPrompt();
    typeUserName("eve");
    enterPassword();
    const auto begin = std::chrono::steady_clock::now();
    expectRefusal("eve");
    EXPECT_LT(std::chrono::steady_clock::now() - begin, std::chrono::seconds(12));
    EXPECT_GT(drippingConnections(), 0);
    // It is the checker that has ended, by the limit of its step, and not the prompt that ended it.
    EXPECT_TRUE(logged("Node Error Error Domain=LDAP Code=-5 ")) << systemLog();
    stopDirectory();
    ASSERT_TRUE(clickButton("Later"));
    expectEnd({0, 0});
    EXPECT_EQ(serviceProcess().messages(), std::vector<std::string>{R"({"postponse":{}})"});
}

TEST_F(CheckerFault, PromptThatIsKilledWhileADirectoryDripsLeavesNoChecker) {
    useDrippingDirectory();
    startServiceProcess("answer");
    noteBefore();
    startPrompt();
    typeUserName("eve");
    enterPassword();
    clickUpdateNow();
    ASSERT_TRUE(eventually([&] { return drippingConnections() > 0; })) << systemLog();
    stopDirectory();
    expectNothingLeftOfAKilledPrompt();
}

}  // namespace
}  // namespace velunor::testing
