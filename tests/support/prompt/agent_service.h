#pragma once

#include <atomic>
#include <chrono>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include "tests/support/desktop/bus.h"

namespace velunor::testing {

/// How the service of a test treats a request.
enum class Treatment {
    answer,
    /// Takes the request and never replies.
    stayMute,
    /// Replies once the test says so.
    answerWhenTold,
    /// Replies after `AgentService::lateness`.
    answerLate,
    /// Leaves the bus while the caller waits.
    leave,
};

/// One request as it came off the bus.
struct Request {
    std::string key;
    std::string message;
    bool operator==(const Request&) const = default;
};

/// An agent service on a private bus, on a thread of its own.
class TestAgentService {
  public:
    static constexpr std::chrono::milliseconds lateness{5500};
    /// The reply to every request that gets one.
    static constexpr const char* replyText = "status noted";

    /// Owns the service's name when the constructor returns. Throws when it cannot.
    TestAgentService(const std::string& address, Treatment treatment);
    TestAgentService(const TestAgentService&) = delete;
    TestAgentService& operator=(const TestAgentService&) = delete;
    ~TestAgentService();

    /// The requests so far, in their order.
    [[nodiscard]] std::vector<Request> requests() const;

    /// Lets a service that waits for it reply.
    void answerNow() { told_ = true; }

  private:
    static int handle(sd_bus_message* message, void* self, sd_bus_error* error);
    void serve(const std::stop_token& stop);
    void note(Request request);

    BusConnection bus_;
    Treatment treatment_;
    bool leaving_ = false;
    std::atomic_bool told_ = false;
    BusMessage held_;
    std::chrono::steady_clock::time_point heldSince_;
    mutable std::mutex mutex_;
    std::vector<Request> requests_;
    std::jthread thread_;
};

}  // namespace velunor::testing
