#pragma once

#include <ldap.h>

#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "platform/directory_service.h"
#include "platform/linux/directory/directory_settings.h"
#include "tools/osupdate_checkpass/ldap/step_limit.h"

namespace velunor {

/// A connection to a directory server inside TLS, with the server's certificate checked. Good for
/// one look-up and one bind. Every operation blocks at most the limit of its step, which ends the
/// process.
class LdapConnection {
  public:
    /// Connects, starts TLS and checks who answers: up to three steps. `steps` must outlive the
    /// connection.
    [[nodiscard]] static DirectoryResult<std::unique_ptr<LdapConnection>> open(
        const DirectoryNodeSettings& settings, StepLimit& steps);

    LdapConnection(const LdapConnection&) = delete;
    LdapConnection& operator=(const LdapConnection&) = delete;
    ~LdapConnection();

    /// The name of the one entry below `base` that `filter` takes. None or several are an error;
    /// what the server refers to elsewhere is not asked.
    [[nodiscard]] DirectoryResult<std::string> findEntry(const std::string& base,
                                                         const std::string& filter);

    /// Binds as the entry `name` with `password`, neither of them empty; none on success. An
    /// account that must change its password first is refused.
    [[nodiscard]] std::optional<DirectoryError> bind(const std::string& name,
                                                     std::string_view password);

  private:
    struct MessageDeleter {
        void operator()(LDAPMessage* message) const { ldap_msgfree(message); }
    };
    using Message = std::unique_ptr<LDAPMessage, MessageDeleter>;

    LdapConnection(LDAP* handle, StepLimit& steps) : handle_(handle), steps_(steps) {}

    std::optional<DirectoryError> start(const DirectoryNodeSettings& settings, bool upgrades);
    std::optional<DirectoryError> askForTls();
    /// Refuses a session whose version is too old or whose cipher would keep passwords.
    std::optional<DirectoryError> checkSession();

    /// Begins a step, whose error this is when it takes too long.
    void beginStep(std::string_view what);
    /// Waits for the next message that answers the request; null when the connection is lost.
    Message nextMessage(int request);

    /// The error of a step that has failed without an answer.
    DirectoryError failure(std::string_view what);

    LDAP* handle_;
    StepLimit& steps_;
};

}  // namespace velunor
