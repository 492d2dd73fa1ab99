#include "tests/linux/credential_checker/listening_socket.h"

#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>

namespace velunor::testing {

namespace {

sockaddr_un addressOf(const std::string& path) {
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    path.copy(address.sun_path, sizeof address.sun_path - 1);
    return address;
}

}  // namespace

ListeningSocket::ListeningSocket(const std::string& path, int backlog)
    : path_(path), socket_(::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0)) {
    const sockaddr_un address = addressOf(path);
    unlink(path.c_str());
    if (bind(socket_.get(), reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0 ||
        listen(socket_.get(), backlog) != 0) {
        std::perror(path.c_str());
        std::abort();
    }
}

FileDescriptor ListeningSocket::accept() const {
    return FileDescriptor(accept4(socket_.get(), nullptr, nullptr, SOCK_CLOEXEC));
}

FileDescriptor ListeningSocket::connectAtOnce() const {
    const sockaddr_un address = addressOf(path_);
    FileDescriptor client(::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0));
    const bool connected =
        connect(client.get(), reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0;
    return connected ? std::move(client) : FileDescriptor();
}

}  // namespace velunor::testing
