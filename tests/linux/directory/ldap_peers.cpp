#include "tests/linux/directory/ldap_peers.h"

#include <arpa/inet.h>
#include <fcntl.h>
#include <netinet/in.h>
#include <poll.h>
#include <sys/socket.h>

#include <array>
#include <cerrno>
#include <chrono>
#include <cstdint>
#include <stdexcept>
#include <utility>

namespace velunor::testing {

namespace {

constexpr int turnMilliseconds = 20;

sockaddr_in loopback(int port) {
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    address.sin_port = htons(static_cast<std::uint16_t>(port));
    return address;
}

bool isReady(int socket, short events, int milliseconds) {
    pollfd waiting{socket, events, 0};
    return poll(&waiting, 1, milliseconds) > 0;
}

}  // namespace

SilentListener::SilentListener(int room)
    : socket_(::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0)) {
    sockaddr_in address = loopback(0);
    socklen_t size = sizeof address;
    auto* generic = reinterpret_cast<sockaddr*>(&address);
    if (bind(socket_.get(), generic, size) != 0 || listen(socket_.get(), room) != 0 ||
        getsockname(socket_.get(), generic, &size) != 0) {
        throw std::runtime_error("cannot listen");
    }
    port_ = ntohs(address.sin_port);
}

BlackHole::BlackHole() {
    constexpr int patienceMilliseconds = 500;
    for (bool answers = true; answers;) {
        filling_.push_back(connectToPort(port()));
        answers = isReady(filling_.back().get(), POLLOUT, patienceMilliseconds);
    }
}

Relay::Relay(int serverPort, Judge judge)
    : serverPort_(serverPort), judge_(std::move(judge)), thread_([this] { serve(); }) {}

Relay::~Relay() {
    ends_ = true;
    thread_.join();
}

void Relay::serve() {
    while (!ends_) {
        if (!isReady(listener_.socket(), POLLIN, turnMilliseconds)) {
            continue;
        }
        const FileDescriptor client(accept4(listener_.socket(), nullptr, nullptr, SOCK_CLOEXEC));
        const FileDescriptor server = connectToPort(serverPort_);
        ++connections_;
        if (isReady(server.get(), POLLOUT, -1)) {
            passOn(client.get(), server.get());
        }
    }
}

void Relay::passOn(int client, int server) {
    constexpr std::size_t largest = 65536;
    std::string bytes(largest, '\0');
    while (!ends_) {
        std::array<pollfd, 2> waiting{pollfd{client, POLLIN, 0}, pollfd{server, POLLIN, 0}};
        if (poll(waiting.data(), waiting.size(), turnMilliseconds) <= 0) {
            continue;
        }
        const bool fromClient = waiting[0].revents != 0;
        const ssize_t count = recv(fromClient ? client : server, bytes.data(), largest, 0);
        if (count <= 0) {
            return;
        }
        const std::string part = bytes.substr(0, static_cast<std::size_t>(count));
        if (fromClient && connections_ > 1) {
            laterBytes_ += part.size();
        }
        const Verdict verdict = judge_(fromClient, part);
        if (verdict == Verdict::hangUp ||
            (verdict != Verdict::keep &&
             !deliver(fromClient ? server : client, part, verdict == Verdict::passSlowly))) {
            return;
        }
    }
}

bool Relay::deliver(int target, const std::string& bytes, bool slowly) const {
    constexpr std::chrono::milliseconds pause{50};
    const std::size_t step = slowly ? 1 : bytes.size();
    for (std::size_t place = 0; place < bytes.size() && !ends_; place += step) {
        if (send(target, bytes.data() + place, step, MSG_NOSIGNAL) < 0) {
            return false;
        }
        if (slowly) {
            std::this_thread::sleep_for(pause);
        }
    }
    return true;
}

FileDescriptor connectToPort(int port) {
    FileDescriptor socket(::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0));
    const sockaddr_in address = loopback(port);
    if (connect(socket.get(), reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0 &&
        errno != EINPROGRESS) {
        throw std::runtime_error("cannot connect");
    }
    return socket;
}

}  // namespace velunor::testing
