#include "prompt/delivery.h"

#include <future>
#include <memory>
#include <string>
#include <utility>

#include "agent/ltarnutils.h"

namespace velunor {

void deliverToService(OSUpdateNotificationResponse response, SystemLog& log,
                      std::chrono::milliseconds deadline) {
    auto message = encodeJson(response);
    // The password is in the message now, and nowhere else while the service takes its time.
    response.answer = Postponse{};
    if (!message) {
        log.write("Error encoding data: " + message.error().description);
        return;
    }
    const AgentServiceConnection connection;
    const std::shared_ptr<AgentService> service = connection.getService();
    // Shared with the callback, because a late reply may find this call gone.
    const auto replied = std::make_shared<std::promise<void>>();
    if (service) {
        service->replyDataBlockForKey(answerKey, *std::move(message),
                                      [replied, &log](const std::string& reply) {
                                          log.write("Reply Received " + reply);
                                          replied->set_value();
                                      });
    }
    replied->get_future().wait_for(deadline);
}

}  // namespace velunor
