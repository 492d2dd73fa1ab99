#include "tools/osupdate_checkpass/ldap/ldap_socket.h"

#include <fcntl.h>
#include <ldap.h>
#include <netdb.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <sys/socket.h>

#include <cerrno>
#include <memory>
#include <optional>
#include <regex>
#include <system_error>
#include <utility>

#include "platform/posix/file_descriptor.h"
#include "tools/osupdate_checkpass/ldap/ldap_error.h"

namespace velunor {
namespace {

using std::chrono::steady_clock;

struct LdapAddress {
    bool beginsWithTls = false;
    std::string host;
    int port = 0;
};

std::optional<LdapAddress> parseLdapAddress(const std::string& uri) {
    constexpr std::size_t longest = 512;
    constexpr int defaultPort = 389;
    constexpr int defaultTlsPort = 636;
    constexpr int highestPort = 65535;
    // Narrower than the library's own reader, which takes filters, other kinds of connection and
    // several servers.
    static const std::regex form(
        R"(ldap(s?)://(?:\[([0-9a-f:.]+)\]|([a-z0-9._-]+))(?::(\d{1,5}))?/?)", std::regex::icase);
    std::smatch parts;
    if (uri.size() > longest || !std::regex_match(uri, parts, form)) {
        return std::nullopt;
    }
    LdapAddress address;
    address.beginsWithTls = parts.length(1) != 0;
    address.host = parts[2].matched ? parts.str(2) : parts.str(3);
    address.port = address.beginsWithTls ? defaultTlsPort : defaultPort;
    if (parts[4].matched) {
        address.port = std::stoi(parts.str(4));
    }
    if (address.port < 1 || address.port > highestPort) {
        return std::nullopt;
    }
    return address;
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

}  // namespace

DirectoryResult<LdapSocket> connectToServer(const std::string& uri, StepLimit& steps) {
    const auto address = parseLdapAddress(uri);
    if (!address) {
        return ldapError(LDAP_PARAM_ERROR, "The server's address is not understood");
    }
    const auto deadline = steady_clock::now() + steps.limit();
    // The resolver knows no time limit of its own.
    steps.begin(serverUnreachable(gai_strerror(EAI_AGAIN)));
    addrinfo hints{};
    hints.ai_family = AF_UNSPEC;
    hints.ai_socktype = SOCK_STREAM;
    addrinfo* first = nullptr;
    int code = EAI_NONAME;
    // An address in numbers needs no network interface of its family.
    for (const int flags : {AI_NUMERICHOST, AI_ADDRCONFIG}) {
        hints.ai_flags = flags | AI_NUMERICSERV;
        if (code != 0) {
            code = getaddrinfo(address->host.c_str(), std::to_string(address->port).c_str(), &hints,
                               &first);
        }
    }
    const std::unique_ptr<addrinfo, void (*)(addrinfo*)> addresses(first, freeaddrinfo);
    steps.end();
    if (code != 0) {
        return serverUnreachable(gai_strerror(code));
    }
    int error = EADDRNOTAVAIL;
    for (const addrinfo* place = first; place != nullptr; place = place->ai_next) {
        FileDescriptor socket = connected(*place, endOfTurn(place, deadline));
        if (socket.isOpen()) {
            return LdapSocket{std::move(socket), address->beginsWithTls};
        }
        error = errno;
    }
    return serverUnreachable(std::generic_category().message(error));
}

}  // namespace velunor
