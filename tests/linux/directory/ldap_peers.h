#pragma once

#include <atomic>
#include <cstddef>
#include <functional>
#include <string>
#include <thread>
#include <vector>

#include "platform/posix/file_descriptor.h"

namespace velunor::testing {

/// Listens on a free port of the loopback interface and says nothing.
class SilentListener {
  public:
    /// Connections are taken on as long as there is room, `room` and one more.
    explicit SilentListener(int room = 16);

    [[nodiscard]] int port() const { return port_; }
    [[nodiscard]] int socket() const { return socket_.get(); }

  private:
    FileDescriptor socket_;
    int port_ = 0;
};

/// A listener whose queue is full, so that further connections get no answer at all.
class BlackHole {
  public:
    BlackHole();

    [[nodiscard]] int port() const { return listener_.port(); }

  private:
    SilentListener listener_{0};
    std::vector<FileDescriptor> filling_;
};

/// Stands between a client and a server on the loopback interface and passes on what they say.
class Relay {
  public:
    /// What becomes of a piece of data; slowly is byte by byte, with a pause after each.
    enum class Verdict { pass, passSlowly, keep, hangUp };

    /// Called for each piece of data, from a thread of the relay: true for the client's.
    using Judge = std::function<Verdict(bool fromClient, const std::string& bytes)>;

    Relay(int serverPort, Judge judge);
    Relay(const Relay&) = delete;
    Relay& operator=(const Relay&) = delete;
    ~Relay();

    [[nodiscard]] int port() const { return listener_.port(); }

    /// Number of connections, and of bytes that a client sent on any but the first one.
    [[nodiscard]] int connections() const { return connections_; }
    [[nodiscard]] std::size_t laterBytes() const { return laterBytes_; }

  private:
    void serve();
    void passOn(int client, int server);
    [[nodiscard]] bool deliver(int target, const std::string& bytes, bool slowly) const;

    SilentListener listener_;
    int serverPort_;
    Judge judge_;
    std::atomic<bool> ends_{false};
    std::atomic<int> connections_{0};
    std::atomic<std::size_t> laterBytes_{0};
    std::thread thread_;
};

/// Connects to a port of the loopback interface.
[[nodiscard]] FileDescriptor connectToPort(int port);

}  // namespace velunor::testing
