#pragma once

#include <ldap.h>

#include <chrono>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "platform/directory_service.h"
#include "platform/linux/directory/directory_settings.h"
#include "platform/linux/directory/ldap_transport.h"

namespace velunor {

/// A connection to a directory server inside TLS, with the server's certificate checked. Good for
/// one look-up and one bind. One thread at a time; every operation blocks at most the time limit of
/// the settings and fails after that.
class LdapConnection {
  public:
    /// Connects, starts TLS and checks who answers; each of the three has the whole time limit. Any
    /// thread.
    [[nodiscard]] static DirectoryResult<std::unique_ptr<LdapConnection>> open(
        const LdapNodeSettings& settings);

    LdapConnection(const LdapConnection&) = delete;
    LdapConnection& operator=(const LdapConnection&) = delete;
    ~LdapConnection();

    /// The name of the one entry below `base` that `filter` takes. None or several are an error;
    /// what the server refers to elsewhere is not asked.
    [[nodiscard]] DirectoryResult<std::string> findEntry(const std::string& base,
                                                         const std::string& filter);

    /// Binds as the entry `name` with `password`, neither of them empty; none on success. An
    /// account that must change its password first is refused. Name and password have 3 KiB
    /// together at most.
    [[nodiscard]] std::optional<DirectoryError> bind(const std::string& name,
                                                     const Secret& password);

  private:
    struct MessageDeleter {
        void operator()(LDAPMessage* message) const { ldap_msgfree(message); }
    };
    using Message = std::unique_ptr<LDAPMessage, MessageDeleter>;

    LdapConnection(FileDescriptor socket, std::chrono::seconds timeout)
        : timeout_(timeout), transport_(std::move(socket)) {}

    std::optional<DirectoryError> start(const LdapNodeSettings& settings, bool upgrades);
    std::optional<DirectoryError> askForTls();
    /// Refuses a session whose version is too old or whose cipher would keep passwords.
    std::optional<DirectoryError> checkSession();

    /// Gives the step that begins now its time.
    void beginStep();
    /// Waits for the next message that answers the request; null when none comes in time.
    Message nextMessage(int request);

    /// The error of a step that has failed without an answer.
    DirectoryError failure(std::string_view what);

    std::chrono::seconds timeout_;
    LdapDeadline deadline_{};
    LdapTransport transport_;
    LDAP* handle_ = nullptr;
};

}  // namespace velunor
