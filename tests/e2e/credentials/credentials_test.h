#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "tests/e2e/credentials/memory.h"
#include "tests/linux/directory/ldap_server.h"
#include "tests/support/machine/machine.h"
#include "tests/support/prompt/prompt_test.h"

namespace velunor::testing {

/// The credential checker, where the settings name it.
inline constexpr const char* credentialCheckerPath = "/run/velunor/bin/osupdate-checkpass";
/// The secure-token tool, where the settings name it.
inline constexpr const char* tokenToolPath = "/run/velunor/bin/sysadminctl";
/// What PAM does for it.
inline constexpr const char* pamServicePath = "/etc/pam.d/velunor-osupdate";

/// The account that the tests' desktop belongs to, made before anything of the desktop.
struct Desktop {
    Desktop();

    /// Puts the checker and its PAM service, as they are shipped, into their places.
    static void installCredentialChecker();

    testing::Machine machine;
    std::string password;
    /// Sits at the machine and may authorise updates.
    testing::Account user;
    testing::ActingAs acting;
};

/// A desktop on a machine of its own, where an ordinary user meets a prompt that asks for
/// credentials, and answers it with real key presses.
class CredentialsTest : protected Desktop, public PromptTest {
  protected:
    CredentialsTest();

    /// Adds lines to the settings; to be called before the start.
    void addSettings(std::string_view lines);
    /// Sets the search path: node names in quotation marks, with commas between them.
    void search(const std::string& quotedNames);
    /// Adds the node "/LDAPv3/<name>" with that server behind it.
    void addNode(const std::string& name, const testing::LdapServer& server);
    void addNode(const std::string& name, const std::string& uri, const std::string& authorities);

    /// Takes this program's answer about tokens, a shell script, instead of the real tool's.
    void answerTokensWith(const std::string& script);

    /// An account with a password of its own.
    testing::Account addAccount(const std::string& name, const std::string& accountPassword,
                                const std::vector<std::string>& groups = {});
    /// This account, or nobody, has the active session at the machine.
    static void seat(const testing::Account& account);
    static void leaveSeat();

    /// Starts a prompt that asks for credentials, and waits until it is on the screen.
    void startPrompt(const std::string& minutes = "15");
    /// The same with another build of the prompt.
    void startPromptOf(const std::string& program, const std::string& minutes = "15");

    /// Starts the checker's system service, as the service manager would.
    void startCheckerService();

    /// Clicks into the showing field of this kind and name and types.
    void typeIntoField(const std::string& role, const std::string& name, const std::string& text);
    /// Clicks into the password field and types.
    void typePassword(const std::string& text);
    /// Asks for another user by the link where it is shown, and types the name into the field.
    void typeUserName(const std::string& name);
    void type(const std::string& text);
    /// As every prompt's test does, but after a check not before the window takes clicks again:
    /// what comes right after one counts as pressed during it.
    [[nodiscard]] bool clickButton(const std::string& title);
    /// Clicks Update Now and waits until the log holds the text.
    void updateNowUntil(const std::string& logged);
    /// Clicks a button and waits for the end of the prompt.
    void clickToTheEnd(const std::string& button);
    [[nodiscard]] bool noticeShows();

    /// The one message that the service received, without its password.
    [[nodiscard]] std::string delivered() const;
    /// Whether that message is to proceed with exactly these credentials.
    [[nodiscard]] bool deliveredCredentials(const std::string& userName,
                                            const std::string& itsPassword) const;
    [[nodiscard]] bool logged(const std::string& text) const;
    /// How often the log holds the text.
    [[nodiscard]] std::size_t timesLogged(const std::string& text) const;

    /// Where the text is in the memory of a process.
    [[nodiscard]] static std::vector<Trace> tracesOf(pid_t process, const std::string& text);
    /// No process of the machine but the test has the password in its memory, other than in the
    /// message to the service; those of the bus, which carry that, other than as bytes.
    static void expectMemoryHoldsOnlyTheMessage(const std::string& itsPassword);
    /// No file below the test's directory, logs included, and no record of the journal holds the
    /// text.
    void expectNoFileHolds(const std::string& text);
    /// Both.
    void expectPasswordNowhere(const std::string& itsPassword);

  private:
    void writeSettings();

    std::unique_ptr<ChildProcess> checkerService_;
    std::string tokenTool_;
    std::string moreSettings_;
};

}  // namespace velunor::testing
