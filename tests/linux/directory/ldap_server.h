#pragma once

#include <chrono>
#include <filesystem>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "tests/support/child_process.h"
#include "tests/support/temporary_directory.h"

namespace velunor::testing {

/// What is special about a directory server.
struct LdapServerSettings {
    /// What its certificate is good for, as openssl takes subjectAltName.
    std::string certificateNames = "IP:127.0.0.1";
    /// Whether its certificate was good for one day long ago.
    bool certificateExpired = false;
    /// Whether it can speak TLS on the port that begins in clear text; no other port then.
    bool offersTls = true;
    /// The one version of TLS that it speaks, such as "1.2"; empty for all that its library has.
    std::string tlsVersion{};
    /// Whether it takes none but the ciphers of the CCM mode.
    bool ccmOnly = false;
    /// Entries that it has from the beginning, as LDIF, with whatever attributes.
    std::string entries{};
    /// Rules of access that come before its own.
    std::string access{};
    /// Further lines of its configuration, for the database.
    std::string configuration{};
};

/// A real LDAP server (slapd) on free ports of the loopback interface, with certificates of an
/// authority of its own and the tree "dc=example,dc=org". It ends with this object, with all that
/// it has written.
class LdapServer {
  public:
    /// Starts the server and waits until it listens. Throws when that fails.
    explicit LdapServer(const LdapServerSettings& settings = {});

    /// "ldaps://127.0.0.1:..."
    [[nodiscard]] std::string tlsUri() const;
    /// "ldap://127.0.0.1:...", where TLS is started on request.
    [[nodiscard]] std::string plainUri() const;
    [[nodiscard]] int tlsPort() const { return tlsPort_; }
    [[nodiscard]] int plainPort() const { return plainPort_; }

    /// File with the certificate of the server's authority.
    [[nodiscard]] std::string authorities() const { return file("ca.pem"); }

    /// Where the accounts are.
    [[nodiscard]] static std::string accounts() { return "ou=people,dc=example,dc=org"; }

    /// Adds the account `user` below `accounts()`, found by "(uid=%u)". Throws when it exists.
    void addAccount(std::string_view user, std::string_view password);

    /// An account's entry as LDIF, to be among the entries from the beginning. `lines` are further
    /// attributes, each ended by a line break.
    [[nodiscard]] static std::string accountEntry(std::string_view user, std::string_view password,
                                                  std::string_view lines = {});

    /// How many connections over TCP, searches and binds with a name it has got so far.
    [[nodiscard]] int connections() const;
    [[nodiscard]] int searches() const;
    [[nodiscard]] int binds() const;

    /// What it has logged about its connections and operations.
    [[nodiscard]] std::string log() const;

    /// Stops the server's processes without ending them, and goes on.
    void pause() const;
    void resume() const;

  private:
    [[nodiscard]] std::string file(const std::string& name) const {
        return (directory_.path() / name).string();
    }
    void makeCertificates(const LdapServerSettings& settings) const;
    [[nodiscard]] std::string tlsConfiguration(const LdapServerSettings& settings) const;
    void writeOpensslConfiguration(const LdapServerSettings& settings) const;
    void writeConfiguration(const LdapServerSettings& settings) const;
    void loadEntries(const LdapServerSettings& settings) const;
    /// False when somebody else has taken the ports that were free a moment ago.
    bool start(bool offersTls);
    /// Runs a program to its end; throws when that is not success.
    void run(const std::vector<std::string>& command) const;
    /// The address for the administrator.
    [[nodiscard]] std::string controlUri() const;

    testing::TemporaryDirectory directory_;
    int tlsPort_ = 0;
    int plainPort_ = 0;
    std::unique_ptr<testing::ChildProcess> process_;
};

}  // namespace velunor::testing
