#include "tools/osupdate_checkpass/ldap/ldap_options.h"

#include <openldap.h>

namespace velunor {
namespace {

/// The certificates that the machine's administrator trusts.
constexpr const char* systemAuthorities = "/etc/ssl/certs/ca-certificates.crt";

/// The largest message that is taken from a server.
constexpr ber_len_t longestMessage = ber_len_t{256} * 1024;

int refuseConnection(LDAP* /*handle*/, Sockbuf* /*buffer*/, LDAPURLDesc* /*server*/,
                     sockaddr* /*address*/, ldap_conncb* /*callback*/) {
    return -1;
}

void forgetConnection(LDAP* /*handle*/, Sockbuf* /*buffer*/, ldap_conncb* /*callback*/) {}

/// The library opens a lost connection again when it has something to send, without the TLS that a
/// connection in clear text was upgraded to: a password could leave the machine readable.
bool forbidConnecting(LDAP* handle) {
    static ldap_conncb callback{refuseConnection, forgetConnection, nullptr};
    return ldap_set_option(handle, LDAP_OPT_CONNECT_CB, &callback) == LDAP_OPT_SUCCESS;
}

bool setNumber(LDAP* handle, int option, int value) {
    return ldap_set_option(handle, option, &value) == LDAP_OPT_SUCCESS;
}

bool setText(LDAP* handle, int option, const char* value) {
    return ldap_set_option(handle, option, value) == LDAP_OPT_SUCCESS;
}

bool setTls(LDAP* handle, const std::string& authorities) {
    constexpr int asServer = 0;
    return setText(handle, LDAP_OPT_X_TLS_CACERTFILE, authorities.c_str()) &&
           setNumber(handle, LDAP_OPT_X_TLS_REQUIRE_CERT, LDAP_OPT_X_TLS_DEMAND) &&
           // Where a certificate has names of servers, its old common name does not count.
           setNumber(handle, LDAP_OPT_X_TLS_REQUIRE_SAN, LDAP_OPT_X_TLS_TRY) &&
           setNumber(handle, LDAP_OPT_X_TLS_PROTOCOL_MIN, LDAP_OPT_X_TLS_PROTOCOL_TLS1_2) &&
           setNumber(handle, LDAP_OPT_X_TLS_PROTOCOL_MAX, 0) &&
           // The others do nothing until a new context is made of them.
           setNumber(handle, LDAP_OPT_X_TLS_NEWCTX, asServer);
}

}  // namespace

std::string authoritiesOf(const DirectoryNodeSettings& settings) {
    return settings.certificateAuthorities.empty() ? systemAuthorities
                                                   : settings.certificateAuthorities;
}

LDAP* newLdapHandle(FileDescriptor socket, const std::string& uri) {
    LDAP* handle = nullptr;
    if (ldap_init_fd(socket.get(), LDAP_PROTO_TCP, uri.c_str(), &handle) != LDAP_SUCCESS) {
        return nullptr;
    }
    // The handle closes it.
    static_cast<void>(socket.release());
    return handle;
}

bool setLdapOptions(LDAP* handle, const DirectoryNodeSettings& settings) {
    Sockbuf* buffer = nullptr;
    ber_len_t longest = longestMessage;
    return forbidConnecting(handle) &&
           ldap_get_option(handle, LDAP_OPT_SOCKBUF, static_cast<void*>(&buffer)) ==
               LDAP_OPT_SUCCESS &&
           ber_sockbuf_ctrl(buffer, LBER_SB_OPT_SET_MAX_INCOMING, &longest) == 1 &&
           setNumber(handle, LDAP_OPT_PROTOCOL_VERSION, LDAP_VERSION3) &&
           setNumber(handle, LDAP_OPT_DEREF, LDAP_DEREF_NEVER) &&
           setNumber(handle, LDAP_OPT_SIZELIMIT, LDAP_NO_LIMIT) &&
           setNumber(handle, LDAP_OPT_TIMELIMIT, LDAP_NO_LIMIT) &&
           // A signal in the middle of a wait is no reason to refuse a password.
           ldap_set_option(handle, LDAP_OPT_RESTART, LDAP_OPT_ON) == LDAP_OPT_SUCCESS &&
           ldap_set_option(handle, LDAP_OPT_REFERRALS, LDAP_OPT_OFF) == LDAP_OPT_SUCCESS &&
           setTls(handle, authoritiesOf(settings));
}

}  // namespace velunor
