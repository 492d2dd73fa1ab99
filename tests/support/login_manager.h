#pragma once

#include <mutex>
#include <optional>
#include <string>
#include <vector>

#include "tests/support/bus_service.h"

namespace velunor::testing {

inline constexpr BusService::Place loginManagerPlace{
    "org.freedesktop.login1", "/org/freedesktop/login1", "org.freedesktop.login1.Manager"};

/// A login manager that grants inhibitor locks the way the real one does: as one end of a pipe
/// whose other end it watches.
class LoginManager {
  public:
    explicit LoginManager(const PrivateBus& bus, bool answers = true);
    LoginManager(const LoginManager&) = delete;
    LoginManager& operator=(const LoginManager&) = delete;
    ~LoginManager();

    /// Answers all calls from now on, those that wait included.
    void beginAnswering();

    /// What was asked for: what, who, why and mode, with bars between.
    [[nodiscard]] std::vector<std::string> calls();
    /// Locks that were granted and are not given back.
    [[nodiscard]] int heldLocks();
    [[nodiscard]] std::size_t grantedLocks();

  private:
    static int inhibit(sd_bus_message* message, void* owner, sd_bus_error* error);
    void answerPending();

    std::mutex mutex_;
    bool answers_;
    std::vector<std::string> calls_;
    std::vector<sd_bus_message*> pending_;
    std::vector<int> watched_;
    std::optional<BusService> service_;
};

}  // namespace velunor::testing
