#include "tests/support/login_manager.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <poll.h>
#include <unistd.h>

#include <array>

namespace velunor::testing {

LoginManager::LoginManager(const PrivateBus& bus, bool answers) : answers_(answers) {
    static const std::array<sd_bus_vtable, 3> table{
        sd_bus_vtable SD_BUS_VTABLE_START(0),
        sd_bus_vtable SD_BUS_METHOD("Inhibit", "ssss", "h", LoginManager::inhibit,
                                    SD_BUS_VTABLE_UNPRIVILEGED),
        sd_bus_vtable SD_BUS_VTABLE_END};
    service_.emplace(bus, loginManagerPlace, table.data(), this, [this] { answerPending(); });
}

LoginManager::~LoginManager() {
    service_.reset();
    for (sd_bus_message* message : pending_) {
        sd_bus_message_unref(message);
    }
    for (const int end : watched_) {
        close(end);
    }
}

void LoginManager::beginAnswering() {
    const std::lock_guard guard(mutex_);
    answers_ = true;
}

std::vector<std::string> LoginManager::calls() {
    const std::lock_guard guard(mutex_);
    return calls_;
}

int LoginManager::heldLocks() {
    const std::lock_guard guard(mutex_);
    int held = 0;
    for (const int end : watched_) {
        pollfd state{end, POLLIN, 0};
        held += poll(&state, 1, 0) == 0 ? 1 : 0;
    }
    return held;
}

std::size_t LoginManager::grantedLocks() {
    const std::lock_guard guard(mutex_);
    return watched_.size();
}

int LoginManager::inhibit(sd_bus_message* message, void* owner, sd_bus_error* /*error*/) {
    const char* what = nullptr;
    const char* who = nullptr;
    const char* why = nullptr;
    const char* mode = nullptr;
    sd_bus_message_read(message, "ssss", &what, &who, &why, &mode);
    auto& self = *static_cast<LoginManager*>(owner);
    const std::lock_guard guard(self.mutex_);
    self.calls_.push_back(std::string(what) + "|" + who + "|" + why + "|" + mode);
    self.pending_.push_back(sd_bus_message_ref(message));
    return 1;
}

void LoginManager::answerPending() {
    const std::lock_guard guard(mutex_);
    if (!answers_) {
        return;
    }
    for (sd_bus_message* message : pending_) {
        std::array<int, 2> ends{};
        EXPECT_EQ(pipe2(ends.data(), O_CLOEXEC), 0);
        sd_bus_reply_method_return(message, "h", ends[1]);
        sd_bus_message_unref(message);
        close(ends[1]);
        watched_.push_back(ends[0]);
    }
    pending_.clear();
}

}  // namespace velunor::testing
