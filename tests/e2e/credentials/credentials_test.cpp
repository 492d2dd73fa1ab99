#include "tests/e2e/credentials/credentials_test.h"

#include <regex>
#include <thread>

namespace velunor::testing {
namespace {

constexpr const char* checkerSocket = "/run/velunor/osupdate-checkpass.socket";

}  // namespace

Desktop::Desktop()
    : password(testing::newPassword()),
      user(machine.addAccount("ada", password, {"sudo"})),
      acting(user) {
    installCredentialChecker();
    const testing::AsRoot root;
    // Wrong passwords cost no delay here.
    testing::Machine::run({"sed", "-i", "s/pam_unix\\.so/& nodelay/", "/etc/pam.d/common-auth"});
    testing::Machine::seat(user);
}

void Desktop::installCredentialChecker() {
    const testing::AsRoot root;
    testing::Machine::run({"install", "-D", "-m", "755", CHECKPASS_PROGRAM, credentialCheckerPath});
    testing::Machine::run({"install", "-D", "-m", "755", TOKEN_TOOL_PROGRAM, tokenToolPath});
    testing::Machine::run({"install", "-D", "-m", "644", PAM_SERVICE_FILE, pamServicePath});
}

CredentialsTest::CredentialsTest() : tokenTool_(tokenToolPath) {
    writeSettings();
    // Of the machine's services only those that a test starts take part.
    environment()["DBUS_SYSTEM_BUS_ADDRESS"] = "unix:path=/run/dbus/system_bus_socket";
}

void CredentialsTest::writeSettings() {
    const std::string root = directory().string();
    std::string text = "[agent]\nproduct_name = \"Test Agent\"\n";
    for (const std::string kind : {"base", "data", "log"}) {
        text.append(kind).append("_path = \"").append(root).append("/").append(kind).append("\"\n");
    }
    text += "[service]\nbus = \"session\"\n[credentials]\nsecure_token_tool = \"" + tokenTool_ +
            "\"\ncredential_checker = \"" + credentialCheckerPath + "\"\n" + moreSettings_;
    writeFile(settingsPath(), text);
}

void CredentialsTest::addSettings(std::string_view lines) {
    moreSettings_ += lines;
    writeSettings();
}

void CredentialsTest::search(const std::string& quotedNames) {
    addSettings("[directory]\nsearch_path = [" + quotedNames + "]\n");
}

void CredentialsTest::addNode(const std::string& name, const testing::LdapServer& server) {
    addNode(name, server.tlsUri(), server.authorities());
}

void CredentialsTest::addNode(const std::string& name, const std::string& uri,
                              const std::string& authorities) {
    addSettings("[directory.node.\"/LDAPv3/" + name + "\"]\nuri = \"" + uri + "\"\nuser_base = \"" +
                testing::LdapServer::accounts() + "\"\nca_file = \"" + authorities +
                "\"\ntimeout_seconds = 2\n");
}

void CredentialsTest::answerTokensWith(const std::string& script) {
    const std::filesystem::path tool = directory() / "token-tool";
    writeFile(tool, "#!/bin/sh\n" + script + "\n");
    std::filesystem::permissions(tool, std::filesystem::perms::owner_all);
    tokenTool_ = tool;
    writeSettings();
}

testing::Account CredentialsTest::addAccount(const std::string& name,
                                             const std::string& accountPassword,
                                             const std::vector<std::string>& groups) {
    const testing::AsRoot root;
    return machine.addAccount(name, accountPassword, groups);
}

void CredentialsTest::seat(const testing::Account& account) {
    const testing::AsRoot root;
    testing::Machine::seat(account);
}

void CredentialsTest::leaveSeat() {
    const testing::AsRoot root;
    testing::Machine::leaveSeat();
}

void CredentialsTest::startPrompt(const std::string& minutes) {
    startPromptOf(PROMPT_PROGRAM, minutes);
}

void CredentialsTest::startPromptOf(const std::string& program, const std::string& minutes) {
    startProgram({testing::reachable(program), "OSUpdateWithCred", "Debian 12.9", "false", minutes,
                  "false", "2"});
    ASSERT_TRUE(waitForWindow()) << systemLog();
}

void CredentialsTest::startCheckerService() {
    const testing::AsRoot root;
    checkerService_ = std::make_unique<ChildProcess>(
        Command{.arguments = {"systemd-socket-activate", "--listen=" + std::string(checkerSocket),
                              credentialCheckerPath, "serve"},
                .environment = {{"PATH", "/usr/sbin:/usr/bin:/sbin:/bin"}},
                .output = {},
                .errors = directory() / "checker-service.log"});
    ASSERT_TRUE(eventually([] { return std::filesystem::exists(checkerSocket); }));
    // Everybody may ask, as the service's own socket has it.
    std::filesystem::permissions(checkerSocket, std::filesystem::perms(0666));
}

void CredentialsTest::typeIntoField(const std::string& role, const std::string& name,
                                    const std::string& text) {
    ASSERT_TRUE(waitForControl(role, name)) << systemLog();
    ASSERT_TRUE(clickControl(role, name)) << systemLog();
    ASSERT_TRUE(eventually([&] {
        const auto field = findControl(controls(), role, name);
        return field && field->focused;
    })) << systemLog();
    type(text);
}

void CredentialsTest::typePassword(const std::string& text) {
    typeIntoField("text", "Password", text);
}

void CredentialsTest::typeUserName(const std::string& name) {
    bool byLink = false;
    ASSERT_TRUE(eventually([&] {
        const std::vector<Accessible> now = controls();
        byLink = findControl(now, "push button", "Another user").has_value();
        return byLink || findControl(now, "text", "User name");
    })) << systemLog();
    if (byLink) {
        ASSERT_TRUE(clickButton("Another user"));
    }
    typeIntoField("text", "User name", "");
    display().screen().pressKey("End");
    for (int erased = 0; erased < 32; ++erased) {
        display().screen().pressKey("BackSpace");
    }
    type(name);
}

void CredentialsTest::type(const std::string& text) {
    display().screen().type(text);
}

bool CredentialsTest::clickButton(const std::string& title) {
    if (logged("Update Now Clicked\n")) {
        constexpr std::chrono::milliseconds longerThanItSettles{150};
        // The main loop that answers has the check behind it.
        static_cast<void>(controls());
        std::this_thread::sleep_for(longerThanItSettles);
    }
    return PromptTest::clickButton(title);
}

void CredentialsTest::updateNowUntil(const std::string& text) {
    ASSERT_TRUE(clickButton("Go ahead")) << systemLog();
    ASSERT_TRUE(waitForLog(text)) << systemLog();
}

void CredentialsTest::clickToTheEnd(const std::string& button) {
    ASSERT_TRUE(clickButton(button)) << systemLog();
    ASSERT_EQ(process().wait(), (Ending{0, 0})) << systemLog();
}

bool CredentialsTest::noticeShows() {
    return findControl(controls(), "label", "Not allowed to update.").has_value();
}

std::string CredentialsTest::delivered() const {
    const std::vector<Request> received = requests();
    return received.size() == 1
               ? std::regex_replace(received.front().message, std::regex(R"("passwd":"[^"]*")"),
                                    R"("passwd":"*")")
               : std::to_string(received.size()) + " messages";
}

bool CredentialsTest::deliveredCredentials(const std::string& userName,
                                           const std::string& itsPassword) const {
    const std::string expected =
        R"({"proceed":{"userName":")" + userName + R"(","passwd":")" + itsPassword + R"("}})";
    const std::vector<Request> received = requests();
    return received.size() == 1 && received.front().key == "PatchOSUpdateNotificationStatus" &&
           received.front().message == expected;
}

bool CredentialsTest::logged(const std::string& text) const {
    return timesLogged(text) > 0;
}

std::size_t CredentialsTest::timesLogged(const std::string& text) const {
    const std::string log = systemLog();
    std::size_t times = 0;
    for (std::size_t at = log.find(text); at != std::string::npos; at = log.find(text, at + 1)) {
        ++times;
    }
    return times;
}

std::vector<Trace> CredentialsTest::tracesOf(pid_t process, const std::string& text) {
    const testing::AsRoot root;
    return tracesInMemory(process, text);
}

void CredentialsTest::expectMemoryHoldsOnlyTheMessage(const std::string& itsPassword) {
    for (const pid_t other : otherProcesses()) {
        for (const Trace& trace : tracesOf(other, itsPassword)) {
            // A program of the bus may have overwritten what stands before it in a copy let go.
            const bool isOfTheBus = trace.place.starts_with("dbus-");
            EXPECT_TRUE(trace.coding == "bytes" &&
                        (isOfTheBus || trace.before.ends_with(R"(passwd":")")))
                << trace;
        }
    }
}

void CredentialsTest::expectNoFileHolds(const std::string& text) {
    std::size_t files = 0;
    for (const auto& entry : std::filesystem::recursive_directory_iterator(directory())) {
        if (entry.is_regular_file()) {
            ++files;
            EXPECT_EQ(readFile(entry.path()).find(text), std::string::npos) << entry.path();
        }
    }
    EXPECT_GT(files, 0U);
    EXPECT_NE(machine.journal().records().find("SYSLOG_IDENTIFIER=VelunorOSUpdate"),
              std::string::npos)
        << "the journal got nothing";
    EXPECT_EQ(machine.journal().records().find(text), std::string::npos);
}

void CredentialsTest::expectPasswordNowhere(const std::string& itsPassword) {
    expectMemoryHoldsOnlyTheMessage(itsPassword);
    expectNoFileHolds(itsPassword);
}

}  // namespace velunor::testing
