#pragma once

#include <atomic>
#include <cstdint>
#include <functional>
#include <mutex>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "tests/support/private_bus.h"

namespace velunor::testing {

/// A notification as it came off the bus.
struct Notification {
    std::string application;
    /// Number of the one in whose place it is to come; 0 for none.
    std::uint32_t replaced = 99;
    std::string icon;
    std::string title;
    std::string body;
    /// Pairs of an action's key and its label.
    std::vector<std::string> actions;
    std::string desktopEntry;
    int urgency = -1;
    /// Milliseconds after which it goes by itself; 0 for never.
    std::int32_t timeOut = -1;
};

/// How the service of a test treats the programs that ask it.
enum class Notifying {
    asUsual,
    /// It shows each body as the markup that it is.
    withMarkup,
    /// It takes what it is asked and answers nothing.
    mutely
};

/// A desktop's notification service on a private bus, on a thread of its own.
class NotificationService {
  public:
    /// Owns the service's name when the constructor returns. Throws when it cannot.
    explicit NotificationService(const std::string& address,
                                 Notifying treatment = Notifying::asUsual);
    NotificationService(const NotificationService&) = delete;
    NotificationService& operator=(const NotificationService&) = delete;
    ~NotificationService();

    /// The notifications so far, in their order; the first one's number is 1.
    [[nodiscard]] std::vector<Notification> shown() const;
    /// Numbers of those that were taken back.
    [[nodiscard]] std::vector<std::uint32_t> withdrawn() const;
    /// How many calls have come in.
    [[nodiscard]] int calls() const { return calls_; }

    /// The user clicks on the last one; an empty token is not told.
    void click(const std::string& action = "default",
               const std::string& token = "token-of-the-test");

  private:
    static int capabilities(sd_bus_message* message, void* self, sd_bus_error* error);
    static int notify(sd_bus_message* message, void* self, sd_bus_error* error);
    static int close(sd_bus_message* message, void* self, sd_bus_error* error);
    void serve(const std::stop_token& stop);

    BusConnection bus_;
    Notifying treatment_;
    std::atomic<int> calls_ = 0;
    mutable std::mutex mutex_;
    std::vector<Notification> shown_;
    std::vector<std::uint32_t> withdrawn_;
    /// Pairs of an action and a token.
    std::vector<std::pair<std::string, std::string>> clicks_;
    std::jthread thread_;
};

}  // namespace velunor::testing
