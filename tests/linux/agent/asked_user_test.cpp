// The launcher that asks another user. Root, on a machine of its own, can have some. What starts
// the prompt in the user's session is a script here: there is no service manager of the user's.

#include <gmock/gmock.h>
#include <sys/stat.h>

#include <csignal>
#include <cstdlib>

#include "tests/linux/agent/launcher_fixture.h"
#include "tests/support/machine/machine.h"

namespace velunor::testing {
namespace {

using ::testing::EndsWith;
using ::testing::HasSubstr;
using ::testing::StartsWith;

/// Tells what it is started as, and becomes the program.
constexpr const char* startInSession = R"(#!/bin/sh
echo "$1: $(id -un) of $(id -Gn) in $XDG_RUNTIME_DIR with ${VARIABLE_OF_ROOT-nothing}" >&2
shift
while [ "$1" != -- ]; do
    export "${1#--setenv=}"
    shift
done
shift
echo "using the $VELUNOR_AGENT_BUS bus and $VELUNOR_AGENT_SETTINGS there" >&2
[ ! -e /run/no-display ] || exit 8
exec "$@"
)";

class AskedUser : public AgentLauncher {
  protected:
    AskedUser() {
        // The commands that make an account are root's.
        setenv("PATH", "/usr/sbin:/usr/bin:/sbin:/bin", 1);
        ada_ = machine_.addAccount("ada", newPassword(), {"readers"});
        const auto everybodys = std::filesystem::perms::all;
        std::filesystem::permissions(directory(), everybodys);
        writeSettings("system");
        startBus();
        // Where a program with a fresh environment looks for it.
        std::filesystem::create_symlink(directory() / "bus", "/run/dbus/system_bus_socket");
        std::filesystem::copy_file(USER_LAUNCHER_PROGRAM, launcher_);
        const auto script = placeOfPrograms() / "start-in-session";
        writeFile(script, startInSession);
        std::filesystem::permissions(script, std::filesystem::perms(0755));
        setVariable("VARIABLE_OF_ROOT", "a secret");
        Machine::seat(ada_);
    }

    /// Starts the launcher, which asks `whom` by a fake prompt in `mode` that sends `body`.
    ChildProcess& ask(const std::string& mode, const std::string& body,
                      const std::vector<std::string>& whom = {"--user", "ada"}) {
        std::vector<std::string> command{launcher_, "prompt", "--program",
                                         reachable(FAKE_PROMPT_PROGRAM)};
        command.insert(command.end(), whom.begin(), whom.end());
        const std::vector<std::string> six{"--", mode, body, marker(), "", "", ""};
        command.insert(command.end(), six.begin(), six.end());
        return startCommand(command);
    }

    /// The error with which asking nobody ends; `status` is how.
    std::string refusal(AgentExit status, const std::vector<std::string>& whom) {
        std::filesystem::remove(directory() / "err");
        EXPECT_EQ(ask("answer", "{}", whom).wait(), exited(status));
        EXPECT_FALSE(std::filesystem::exists(marker().string() + ".started"));
        return errors();
    }

    /// The login manager's file about the session, which says that it is of this type.
    static void writeSession(const std::string& name, uid_t user, const std::string& type) {
        // It is there as a whole at once.
        const std::string file = "/run/systemd/sessions/" + name;
        writeFile("/run/session", "UID=" + std::to_string(user) +
                                      "\nACTIVE=1\nSTATE=active\nCLASS=user\nTYPE=" + type + "\n");
        std::filesystem::rename("/run/session", file);
    }

    [[nodiscard]] const Account& ada() const { return ada_; }

  private:
    Machine machine_;
    Account ada_;
    std::filesystem::path launcher_ = placeOfPrograms() / "launcher";
};

/// Whether the process waits for something, as the system tells it.
bool isAsleep(pid_t process) {
    const std::string status = readFile("/proc/" + std::to_string(process) + "/status");
    return status.find("\nState:\tS ") != std::string::npos;
}

const std::vector<std::string> activeUser{"--active"};
const std::vector<std::string> userAda{"--user", "ada"};

TEST_F(AskedUser, AnswersAsThemselvesAndWithNothingOfRoots) {
    const std::string json = R"({"postponse":{"userName":"ada"}})";
    ChildProcess& process = ask("answer", json);
    EXPECT_EQ(process.wait(), exited(AgentExit::postpone)) << errors();
    EXPECT_EQ(output(), json + "\n");
    EXPECT_THAT(errors(),
                StartsWith("ostrel-agent: using the system bus\nvelunor-os-update-" +
                           std::to_string(process.id()) + ": ada of ada readers in /run/user/" +
                           std::to_string(ada().user) + " with nothing\nusing the system bus and " +
                           settingsFile().string() + " there\n"));
}

TEST_F(AskedUser, MayBeWhoeverSitsAtTheMachine) {
    EXPECT_EQ(ask("answer", R"({"proceed":{}})", activeUser).wait(), exited(AgentExit::proceed))
        << errors();
    EXPECT_EQ(output(), "{\"proceed\":{}}\n");
    EXPECT_THAT(errors(), HasSubstr(": ada of ada readers in "));
}

TEST_F(AskedUser, AnswerOfAnotherServiceOfTheirsDoesNotCount) {
    writeFile("/run/unit", "another.service");
    EXPECT_EQ(ask("answer", R"({"proceed":{}})").wait(), exited(AgentExit::noAnswer));
    EXPECT_EQ(output(), "");
    EXPECT_THAT(errors(), HasSubstr("ostrel-agent: another program sent an answer\n"));
    EXPECT_THAT(errors(), EndsWith("ostrel-agent: the prompt ended without an answer\n"));
}

TEST_F(AskedUser, AnswerOfAnotherUserDoesNotCount) {
    initialiseLibrary();
    ChildProcess& process = ask("stay", "");
    ASSERT_TRUE(waitForPrompt());
    EXPECT_EQ(request(statusKey, R"({"proceed":{}})"), "Not the prompt");
    process.sendSignal(SIGTERM);
    EXPECT_EQ(process.wait(), exited(AgentExit::noAnswer)) << errors();
    EXPECT_EQ(readFile(marker()), "told to end");
    EXPECT_EQ(output(), "");
}

TEST_F(AskedUser, MayAskNobodyElse) {
    const std::string user = std::to_string(ada().user);
    EXPECT_EQ(startCommand({"setpriv", "--reuid", user, "--regid", user, "--clear-groups", "--",
                            reachable(LAUNCHER_PROGRAM), "prompt", "--user", "root", "--", "", "",
                            "", "", "", ""})
                  .wait(),
              exited(AgentExit::usage));
    EXPECT_EQ(errors(), "ostrel-agent: only root can ask another user\n");
}

TEST_F(AskedUser, OwnLauncherIsClosedToTheirOtherPrograms) {
    const std::string user = std::to_string(ada().user);
    ChildProcess& process =
        startCommand({"setpriv", "--reuid", user, "--regid", user, "--clear-groups", "--",
                      reachable(LAUNCHER_PROGRAM), "serve"});
    ASSERT_TRUE(eventually([this] { return errors().find("serving") != std::string::npos; }));
    // What the kernel keeps from them belongs to root.
    struct stat memory {};
    ASSERT_EQ(stat(("/proc/" + std::to_string(process.id()) + "/mem").c_str(), &memory), 0);
    EXPECT_EQ(memory.st_uid, 0U);
}

TEST_F(AskedUser, WithoutADisplayIsNotAsked) {
    writeFile("/run/no-display", "");
    EXPECT_EQ(ask("answer", "{}").wait(), exited(AgentExit::noDesktop));
    EXPECT_THAT(errors(), EndsWith("ostrel-agent: the session has no display\n"));
}

TEST_F(AskedUser, PromptEndsWithTheirSessionAndNotWithAnothers) {
    initialiseLibrary();
    ChildProcess& process = ask("stay", "");
    ASSERT_TRUE(waitForPrompt());
    writeSession("c2", 0, "tty");
    // Whoever answers so often has seen the other session come.
    for (int count = 0; count < 20; ++count) {
        ASSERT_EQ(request("other", "{}"), "Unknown key");
    }
    EXPECT_EQ(readFile(marker()), "");
    // It waits for the next change, and does not look at this one without an end.
    EXPECT_TRUE(eventually([&] { return isAsleep(process.id()); }));
    std::filesystem::remove("/run/systemd/sessions/c1");
    EXPECT_EQ(process.wait(), exited(AgentExit::sessionEnded)) << errors();
    EXPECT_EQ(readFile(marker()), "told to end");
    EXPECT_THAT(errors(), EndsWith("ostrel-agent: the session ended before the answer\n"));
}

TEST_F(AskedUser, TimeOutIsTheReasonWhereItEndsThePrompt) {
    EXPECT_EQ(ask("stay", "", {"--user", "ada", "--timeout", "1"}).wait(),
              exited(AgentExit::timeout));
    EXPECT_EQ(readFile(marker()), "told to end");
}

TEST_F(AskedUser, WhoIsNotThereIsNobodyToAsk) {
    Machine::leaveSeat();
    EXPECT_EQ(refusal(AgentExit::nobodyThere, userAda),
              "ostrel-agent: ada has no session in the foreground\n");
    EXPECT_EQ(refusal(AgentExit::nobodyThere, activeUser),
              "ostrel-agent: nobody is logged in at the machine\n");
}

TEST_F(AskedUser, OnATextConsoleHasNoDesktop) {
    writeSession("c1", ada().user, "tty");
    EXPECT_EQ(refusal(AgentExit::noDesktop, userAda),
              "ostrel-agent: the session of ada is not graphical\n");
    EXPECT_EQ(refusal(AgentExit::noDesktop, activeUser),
              "ostrel-agent: the session of the user at the machine is not graphical\n");
}

TEST_F(AskedUser, WithoutAnAccountIsNotAsked) {
    constexpr uid_t nobodys = 4711;
    Machine::seat({.name = "ghost", .user = nobodys, .group = nobodys, .home = "/"});
    EXPECT_EQ(refusal(AgentExit::unknownUser, activeUser),
              "ostrel-agent: the user 4711 has no account\n");
}

TEST_F(AskedUser, IsNotHeardOnTheSessionsBus) {
    writeSettings("session");
    EXPECT_EQ(
        refusal(AgentExit::noService, userAda),
        "ostrel-agent: the settings name the session's bus, where another user is not heard\n");
}

}  // namespace
}  // namespace velunor::testing
