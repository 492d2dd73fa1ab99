#include "tools/ostrel_agent/agent_service_server.h"

#include <cerrno>
#include <system_error>
#include <utility>

#include "agent/linux/agent_bus.h"

namespace velunor {
namespace {

/// Notes who sent the message, as far as the bus can tell.
void noteSender(sd_bus_message* message, AgentRequest& request) {
    sd_bus_creds* raw = nullptr;
    if (sd_bus_query_sender_creds(message, SD_BUS_CREDS_PID | SD_BUS_CREDS_EUID, &raw) < 0) {
        return;
    }
    const BusCredentialsHandle credentials(raw);
    uid_t user = 0;
    if (sd_bus_creds_get_euid(raw, &user) >= 0) {
        request.user = user;
    }
    // What is not told stays 0.
    sd_bus_creds_get_pid(raw, &request.sender);
}

}  // namespace

AgentServiceServer::AgentServiceServer(Handler handler) : handler_(std::move(handler)) {}

AgentServiceServer::~AgentServiceServer() {
    sd_bus_flush(bus_.get());
}

std::string AgentServiceServer::start(ServiceBus kind, sd_event* loop) {
    // NOLINTNEXTLINE(modernize-avoid-c-arrays): the elements come from macros for plain arrays.
    static const sd_bus_vtable table[] = {
        SD_BUS_VTABLE_START(0),
        SD_BUS_METHOD_WITH_NAMES(agentReplyMethod, "say", SD_BUS_PARAM(key) SD_BUS_PARAM(message),
                                 "s", SD_BUS_PARAM(reply), handleMessage,
                                 SD_BUS_VTABLE_UNPRIVILEGED),
        SD_BUS_VTABLE_END};
    sd_bus* bus = nullptr;
    int error = kind == ServiceBus::system ? sd_bus_open_system(&bus) : sd_bus_open_user(&bus);
    bus_.reset(bus);
    const char* step = "no message bus";
    if (error >= 0) {
        step = "no object on the bus";
        error =
            sd_bus_add_object_vtable(bus, nullptr, agentObjectPath, agentInterface, table, this);
    }
    if (error >= 0) {
        step = "the name com.velunor.OstrelAgent cannot be had";
        error = sd_bus_request_name(bus, agentBusName, 0);
    }
    if (error >= 0) {
        step = "no event loop";
        error = sd_bus_attach_event(bus, loop, SD_EVENT_PRIORITY_IMPORTANT);
    }
    if (error >= 0) {
        error = sd_bus_set_exit_on_disconnect(bus, 1);
    }
    return error >= 0 ? std::string()
                      : std::string(step) + ": " + std::generic_category().message(-error);
}

int AgentServiceServer::handleMessage(sd_bus_message* message, void* userdata,
                                      sd_bus_error* /*error*/) {
    auto& server = *static_cast<AgentServiceServer*>(userdata);
    const char* key = nullptr;
    const void* bytes = nullptr;
    std::size_t size = 0;
    sd_bus_message_sensitive(message);
    if (sd_bus_message_read(message, "s", &key) < 0 ||
        sd_bus_message_read_array(message, 'y', &bytes, &size) < 0) {
        return -EINVAL;
    }
    const auto* text = static_cast<const char*>(bytes);
    AgentRequest request{.key = key, .message = Secret(std::string_view(text, size))};
    noteSender(message, request);
    const std::string reply = server.handler_(std::move(request));
    return sd_bus_reply_method_return(message, "s", reply.c_str());
}

}  // namespace velunor
