#include <cerrno>
#include <cstdint>
#include <memory>
#include <system_error>
#include <thread>
#include <utility>

#include "agent/linux/agent_bus.h"
#include "agent/linux/library_log.h"
#include "agent/linux/settings.h"
#include "agent/ltarnutils.h"
#include "platform/linux/session/bus_handles.h"

namespace velunor {
namespace {

/// For each call, the start of the service included: longer than anybody waits for the reply.
constexpr std::uint64_t callTimeoutMicroseconds = 30'000'000;

void report(const char* step, const std::string& reason) {
    library_log::write(std::string("Agent service: ") + step + ": " + reason);
}

std::string reasonOf(int error) {
    return std::generic_category().message(-error);
}

/// Who owns the service's name now; null, with the reason in `error`, when nobody does.
BusCredentialsHandle ownerNow(sd_bus* bus, int& error) {
    constexpr std::uint64_t wanted = SD_BUS_CREDS_UNIQUE_NAME | SD_BUS_CREDS_EUID;
    sd_bus_creds* credentials = nullptr;
    error = sd_bus_get_name_creds(bus, agentBusName, wanted, &credentials);
    return BusCredentialsHandle(credentials);
}

/// The owner of the service's name, started by the bus where it can; null when there is none.
BusCredentialsHandle ownerOfService(sd_bus* bus) {
    int error = 0;
    BusCredentialsHandle owner = ownerNow(bus, error);
    if (!owner) {
        // Its answer does not matter: the second look-up tells whether there is an owner now.
        sd_bus_call_method(bus, "org.freedesktop.DBus", "/org/freedesktop/DBus",
                           "org.freedesktop.DBus", "StartServiceByName", nullptr, nullptr, "su",
                           agentBusName, 0U);
        owner = ownerNow(bus, error);
    }
    if (!owner) {
        report("no owner", reasonOf(error));
    }
    return owner;
}

/// The owner's unique name; empty when it must not be sent an answer.
std::string trustedDestination(sd_bus* bus, ServiceBus kind) {
    const BusCredentialsHandle owner = ownerOfService(bus);
    const char* name = nullptr;
    if (!owner || sd_bus_creds_get_unique_name(owner.get(), &name) < 0) {
        return {};
    }
    uid_t user = 0;
    const bool isRoot = sd_bus_creds_get_euid(owner.get(), &user) >= 0 && user == 0;
    if (kind == ServiceBus::system && !isRoot) {
        library_log::write("Agent service: its owner is not root; nothing was sent");
        return {};
    }
    return name;
}

BusMessageHandle requestFor(sd_bus* bus, const std::string& destination, const std::string& key,
                            const Secret& message) {
    sd_bus_message* raw = nullptr;
    int error = sd_bus_message_new_method_call(bus, &raw, destination.c_str(), agentObjectPath,
                                               agentInterface, agentReplyMethod);
    BusMessageHandle request(raw);
    if (error >= 0) {
        // The bus library wipes the message when it drops it.
        error = sd_bus_message_sensitive(raw);
    }
    if (error >= 0) {
        error = sd_bus_message_append(raw, "s", key.c_str());
    }
    if (error >= 0) {
        error = sd_bus_message_append_array(raw, 'y', message.reveal().data(), message.size());
    }
    if (error < 0) {
        report("no request", reasonOf(error));
        return nullptr;
    }
    return request;
}

/// The whole exchange, on the library's own thread.
void exchange(BusHandle bus, ServiceBus kind, const std::string& key, Secret message,
              const AgentService::ReplyData& withReplyData) {
    const std::string destination = trustedDestination(bus.get(), kind);
    if (destination.empty()) {
        return;
    }
    BusMessageHandle request = requestFor(bus.get(), destination, key, message);
    message.clear();
    if (!request) {
        return;
    }
    sd_bus_error failure{};
    sd_bus_message* raw = nullptr;
    const int error = sd_bus_call(bus.get(), request.get(), 0, &failure, &raw);
    const BusMessageHandle reply(raw);
    request.reset();
    const char* text = nullptr;
    if (!reply) {
        report("no reply", failure.message == nullptr ? reasonOf(error) : failure.message);
    } else if (static_cast<void>(sd_bus_message_read(raw, "s", &text)); text == nullptr) {
        library_log::write("Agent service: the reply is not a text");
    } else {
        withReplyData(text);
    }
    sd_bus_error_free(&failure);
}

/// The service behind one connection of its own.
class BusAgentService final : public AgentService {
  public:
    BusAgentService(BusHandle bus, ServiceBus kind) : bus_(std::move(bus)), kind_(kind) {}

    void replyDataBlockForKey(const std::string& key, Secret message,
                              ReplyData withReplyData) override {
        if (!bus_) {
            library_log::write("Agent service: one connection takes one message");
            return;
        }
        try {
            std::thread([bus = std::move(bus_), kind = kind_, key, message = std::move(message),
                         withReplyData = std::move(withReplyData)]() mutable {
                exchange(std::move(bus), kind, key, std::move(message), withReplyData);
            }).detach();
        } catch (const std::system_error& error) {
            report("no thread", error.what());
        }
    }

  private:
    BusHandle bus_;
    ServiceBus kind_;
};

}  // namespace

std::shared_ptr<AgentService> AgentServiceConnection::getService() const {
    const ServiceBus kind = serviceBus(loadedSettings());
    // Only the socket is opened here; authentication goes on where the first call is made.
    BusHandle bus = openBus(kind == ServiceBus::system ? sd_bus_open_system : sd_bus_open_user);
    if (!bus) {
        report("no bus", reasonOf(-errno));
        return nullptr;
    }
    sd_bus_set_method_call_timeout(bus.get(), callTimeoutMicroseconds);
    return std::make_shared<BusAgentService>(std::move(bus), kind);
}

}  // namespace velunor
