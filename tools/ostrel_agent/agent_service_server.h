#pragma once

#include <sys/types.h>
#include <systemd/sd-event.h>

#include <functional>
#include <optional>
#include <string>

#include "agent/linux/settings.h"
#include "platform/linux/session/bus_handles.h"
#include "platform/secret.h"

namespace velunor {

/// One request as it came over the bus.
struct AgentRequest {
    std::string key;
    Secret message;
    /// The process that sent it; 0 when the bus cannot tell, as when it has gone.
    pid_t sender = 0;
    /// Its user; none when the bus cannot tell.
    std::optional<uid_t> user{};
};

/// The agent service's side of the bus: owns its name and hands each request on. One thread.
class AgentServiceServer {
  public:
    /// Answers a request with the text of the reply.
    using Handler = std::function<std::string(AgentRequest)>;

    explicit AgentServiceServer(Handler handler);
    AgentServiceServer(const AgentServiceServer&) = delete;
    AgentServiceServer& operator=(const AgentServiceServer&) = delete;
    /// Sends what is still waiting to be sent.
    ~AgentServiceServer();

    /// Connects to the bus, takes the name and serves on `loop`, which ends with a failure when the
    /// bus goes away. Empty on success, else one line that says why not.
    [[nodiscard]] std::string start(ServiceBus kind, sd_event* loop);

  private:
    static int handleMessage(sd_bus_message* message, void* userdata, sd_bus_error* error);

    Handler handler_;
    BusHandle bus_;
};

}  // namespace velunor
