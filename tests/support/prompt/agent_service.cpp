#include "tests/support/prompt/agent_service.h"

#include <stdexcept>

namespace velunor::testing {

TestAgentService::TestAgentService(const std::string& address, Treatment treatment)
    : bus_(connectToBus(address)), treatment_(treatment) {
    // NOLINTNEXTLINE(modernize-avoid-c-arrays): the elements come from macros for plain arrays.
    static const sd_bus_vtable methods[] = {
        SD_BUS_VTABLE_START(0),
        SD_BUS_METHOD("ReplyDataForKey", "say", "s", &TestAgentService::handle,
                      SD_BUS_VTABLE_UNPRIVILEGED),
        SD_BUS_VTABLE_END};
    if (sd_bus_add_object_vtable(bus_.get(), nullptr, "/com/velunor/OstrelAgent",
                                 "com.velunor.OstrelAgent1", methods, this) < 0 ||
        sd_bus_request_name(bus_.get(), "com.velunor.OstrelAgent", 0) < 0) {
        throw std::runtime_error("the test's agent service cannot take its name");
    }
    thread_ = std::jthread([this](const std::stop_token& stop) { serve(stop); });
}

TestAgentService::~TestAgentService() {
    thread_.request_stop();
    thread_.join();
}

std::vector<Request> TestAgentService::requests() const {
    const std::lock_guard lock(mutex_);
    return requests_;
}

int TestAgentService::handle(sd_bus_message* message, void* self, sd_bus_error* /*error*/) {
    auto& service = *static_cast<TestAgentService*>(self);
    const char* key = nullptr;
    const void* bytes = nullptr;
    std::size_t size = 0;
    if (sd_bus_message_read(message, "s", &key) < 0 ||
        sd_bus_message_read_array(message, 'y', &bytes, &size) < 0) {
        return sd_bus_reply_method_errorf(message, SD_BUS_ERROR_INVALID_ARGS, "unreadable");
    }
    service.note({key, std::string(static_cast<const char*>(bytes), size)});
    switch (service.treatment_) {
        case Treatment::answer:
            return sd_bus_reply_method_return(message, "s", replyText);
        case Treatment::leave:
            service.leaving_ = true;
            return 1;
        case Treatment::stayMute:
        case Treatment::answerWhenTold:
        case Treatment::answerLate:
            break;
    }
    service.held_.reset(sd_bus_message_ref(message));
    service.heldSince_ = std::chrono::steady_clock::now();
    return 1;
}

void TestAgentService::serve(const std::stop_token& stop) {
    constexpr std::uint64_t pauseMicroseconds = 20'000;
    while (!stop.stop_requested()) {
        if (sd_bus_process(bus_.get(), nullptr) == 0) {
            sd_bus_wait(bus_.get(), pauseMicroseconds);
        }
        if (leaving_) {
            sd_bus_close(bus_.get());
            return;
        }
        const bool due = treatment_ == Treatment::answerLate
                             ? std::chrono::steady_clock::now() - heldSince_ >= lateness
                             : told_.load();
        if (held_ != nullptr && due) {
            sd_bus_reply_method_return(held_.get(), "s", replyText);
            held_.reset();
        }
    }
}

void TestAgentService::note(Request request) {
    const std::lock_guard lock(mutex_);
    requests_.push_back(std::move(request));
}

}  // namespace velunor::testing
