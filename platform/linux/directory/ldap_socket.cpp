#include "platform/linux/directory/ldap_socket.h"

#include <netdb.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <poll.h>
#include <sys/socket.h>

#include <algorithm>
#include <cerrno>
#include <condition_variable>
#include <memory>
#include <mutex>
#include <system_error>
#include <thread>

namespace velunor {

namespace {

/// A host's addresses, or the code of getaddrinfo that tells why there are none.
struct Addresses {
    int code = EAI_AGAIN;
    std::unique_ptr<addrinfo, void (*)(addrinfo*)> first{nullptr, freeaddrinfo};
};

/// A look-up on a thread of its own, because getaddrinfo knows no time limit. Each side may be done
/// with it before the other.
struct LookUp {
    std::mutex mutex;
    std::condition_variable finished;
    bool isFinished = false;
    Addresses addresses;
};

Addresses addressesOf(const std::string& host, const std::string& port, int flags) {
    addrinfo hints{};
    hints.ai_family = AF_UNSPEC;
    hints.ai_socktype = SOCK_STREAM;
    hints.ai_flags = flags | AI_NUMERICSERV;
    Addresses addresses;
    addrinfo* first = nullptr;
    addresses.code = getaddrinfo(host.c_str(), port.c_str(), &hints, &first);
    if (addresses.code == 0) {
        addresses.first.reset(first);
    }
    return addresses;
}

Addresses lookUp(const std::string& host, const std::string& port, LdapDeadline deadline) {
    if (Addresses numeric = addressesOf(host, port, AI_NUMERICHOST); numeric.code == 0) {
        return numeric;
    }
    const auto shared = std::make_shared<LookUp>();
    try {
        std::thread([shared, host, port] {
            Addresses found = addressesOf(host, port, AI_ADDRCONFIG);
            const std::lock_guard lock(shared->mutex);
            shared->addresses = std::move(found);
            shared->isFinished = true;
            shared->finished.notify_one();
        }).detach();
    } catch (const std::system_error&) {
        return {EAI_MEMORY};
    }
    std::unique_lock lock(shared->mutex);
    if (!shared->finished.wait_until(lock, deadline, [&] { return shared->isFinished; })) {
        return {};
    }
    return std::move(shared->addresses);
}

/// A connected socket; none with the reason in errno.
FileDescriptor connected(const addrinfo& address, LdapDeadline deadline) {
    FileDescriptor socket(::socket(address.ai_family,
                                   address.ai_socktype | SOCK_CLOEXEC | SOCK_NONBLOCK,
                                   address.ai_protocol));
    if (!socket.isOpen()) {
        return socket;
    }
    const int on = 1;
    setsockopt(socket.get(), IPPROTO_TCP, TCP_NODELAY, &on, sizeof on);
    if (connect(socket.get(), address.ai_addr, address.ai_addrlen) == 0) {
        return socket;
    }
    if (errno != EINPROGRESS || !waitForSocket(socket.get(), POLLOUT, deadline)) {
        return FileDescriptor();
    }
    int error = 0;
    socklen_t size = sizeof error;
    getsockopt(socket.get(), SOL_SOCKET, SO_ERROR, &error, &size);
    errno = error;
    return error == 0 ? std::move(socket) : FileDescriptor();
}

/// When to give `address` up: each of it and those behind it has the same share of what is left.
LdapDeadline endOfTurn(const addrinfo* address, LdapDeadline deadline) {
    int turns = 0;
    for (; address != nullptr; address = address->ai_next) {
        ++turns;
    }
    const auto now = std::chrono::steady_clock::now();
    return now + (deadline - now) / turns;
}

}  // namespace

bool waitForSocket(int socket, short events, LdapDeadline deadline) {
    using std::chrono::milliseconds;
    pollfd waiting{socket, events, 0};
    for (;;) {
        const auto left =
            std::chrono::ceil<milliseconds>(deadline - std::chrono::steady_clock::now());
        const int count = left.count() <= 0 ? 0 : poll(&waiting, 1, static_cast<int>(left.count()));
        if (count > 0) {
            return true;
        }
        if (left.count() <= 0) {
            errno = ETIMEDOUT;
            return false;
        }
        if (count < 0 && errno != EINTR) {
            return false;
        }
    }
}

std::variant<FileDescriptor, std::string> connectSocket(const std::string& host, int port,
                                                        LdapDeadline deadline) {
    const Addresses addresses = lookUp(host, std::to_string(port), deadline);
    if (addresses.code != 0) {
        return std::string(gai_strerror(addresses.code));
    }
    int error = EADDRNOTAVAIL;
    for (const addrinfo* address = addresses.first.get(); address != nullptr;
         address = address->ai_next) {
        FileDescriptor socket = connected(*address, endOfTurn(address, deadline));
        if (socket.isOpen()) {
            return socket;
        }
        error = errno;
    }
    return std::generic_category().message(error);
}

}  // namespace velunor
