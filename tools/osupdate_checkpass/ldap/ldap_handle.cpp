#include "tools/osupdate_checkpass/ldap/ldap_handle.h"

#include <fcntl.h>
#include <netdb.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <openldap.h>
#include <resolv.h>
#include <sys/socket.h>

#include <cerrno>
#include <chrono>
#include <cstdlib>
#include <system_error>
#include <utility>

#include "platform/owned.h"
#include "tools/osupdate_checkpass/ldap/ldap_address.h"

namespace velunor {
namespace {

using std::chrono::steady_clock;

DirectoryError serverUnreachable(std::string_view reason) {
    return ldapError(LDAP_SERVER_DOWN, "The server cannot be reached", reason);
}

using Addresses = Owned<addrinfo, freeaddrinfo>;

DirectoryResult<Addresses> addressesOf(const LdapAddress& address, const StepLimit& limit) {
    // The resolver knows no time limit of its own.
    const Step step(limit, serverUnreachable(gai_strerror(EAI_AGAIN)));
    addrinfo hints{};
    hints.ai_socktype = SOCK_STREAM;
    addrinfo* first = nullptr;
    int code = EAI_NONAME;
    // An address in numbers needs no network interface of its family.
    for (const int flags : {AI_NUMERICHOST, AI_ADDRCONFIG}) {
        hints.ai_flags = flags;
        if (code != 0) {
            code = getaddrinfo(address.host.c_str(), std::to_string(address.port).c_str(), &hints,
                               &first);
        }
    }
    if (code != 0) {
        return serverUnreachable(gai_strerror(code));
    }
    return Addresses(first);
}

/// A connected socket that blocks; none with the reason in errno.
FileDescriptor connected(const addrinfo& address, steady_clock::time_point deadline) {
    FileDescriptor socket(::socket(address.ai_family,
                                   address.ai_socktype | SOCK_CLOEXEC | SOCK_NONBLOCK,
                                   address.ai_protocol));
    if (!socket.isOpen()) {
        return socket;
    }
    const int on = 1;
    setsockopt(socket.get(), IPPROTO_TCP, TCP_NODELAY, &on, sizeof on);
    int error = connect(socket.get(), address.ai_addr, address.ai_addrlen) == 0 ? 0 : errno;
    if (error == EINPROGRESS) {
        error = pollUntil(socket.get(), POLLOUT, deadline);
        socklen_t size = sizeof error;
        if (error == 0) {
            getsockopt(socket.get(), SOL_SOCKET, SO_ERROR, &error, &size);
        }
    }
    if (error == 0 && fcntl(socket.get(), F_SETFL, 0) != 0) {
        error = errno;
    }
    if (error == 0) {
        return socket;
    }
    errno = error;
    return FileDescriptor();
}

/// When to give `address` up: each of it and those behind it has the same share of what is left.
steady_clock::time_point endOfTurn(const addrinfo* address, steady_clock::time_point deadline) {
    int turns = 0;
    for (; address != nullptr; address = address->ai_next) {
        ++turns;
    }
    const auto now = steady_clock::now();
    return now + (deadline - now) / turns;
}

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

bool setOptions(LDAP* handle, const std::string& authorities) {
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
           setTls(handle, authorities);
}

}  // namespace

void prepareDirectoryLibrary() {
    constexpr const char* resolverOptions = "RES_OPTIONS";
    int version = 0;
    if (setenv(resolverOptions, "attempts:1 timeout:1", 1) != 0 ||
        ldap_get_option(nullptr, LDAP_OPT_PROTOCOL_VERSION, &version) != LDAP_OPT_SUCCESS ||
        unsetenv(resolverOptions) != 0 || res_init() != 0) {
        std::abort();
    }
}

DirectoryResult<LdapSocket> connectToServer(const std::string& uri, const StepLimit& limit) {
    const auto address = parseLdapAddress(uri);
    if (!address) {
        return ldapError(LDAP_PARAM_ERROR, "The server's address is not understood");
    }
    const auto deadline = steady_clock::now() + limit.limit;
    const auto addresses = addressesOf(*address, limit);
    if (!addresses) {
        return addresses.error();
    }
    int error = EADDRNOTAVAIL;
    for (const addrinfo* place = addresses->get(); place != nullptr; place = place->ai_next) {
        FileDescriptor socket = connected(*place, endOfTurn(place, deadline));
        if (socket.isOpen()) {
            return LdapSocket{std::move(socket), address->beginsWithTls};
        }
        error = errno;
    }
    return serverUnreachable(std::generic_category().message(error));
}

DirectoryResult<LdapHandle> newLdapHandle(FileDescriptor socket,
                                          const DirectoryNodeSettings& settings) {
    LDAP* raw = nullptr;
    if (ldap_init_fd(socket.get(), LDAP_PROTO_TCP, settings.uri.c_str(), &raw) != LDAP_SUCCESS) {
        return ldapError(LDAP_LOCAL_ERROR, "The connection cannot be set up");
    }
    LdapHandle handle(raw);
    // The handle closes it.
    static_cast<void>(socket.release());
    // Those that the machine's administrator trusts, unless the settings name others.
    const std::string authorities = settings.certificateAuthorities.empty()
                                        ? "/etc/ssl/certs/ca-certificates.crt"
                                        : settings.certificateAuthorities;
    if (!setOptions(raw, authorities)) {
        return ldapError(LDAP_LOCAL_ERROR, "TLS cannot be set up with the trusted authorities",
                         authorities);
    }
    return handle;
}

}  // namespace velunor
