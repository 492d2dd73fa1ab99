#include "prompt/delivery.h"

#include <condition_variable>
#include <memory>
#include <mutex>
#include <string>
#include <utility>

#include "agent/ltarnutils.h"

namespace velunor {
namespace {

/// What the waiting thread and the library's thread share.
class ReplySignal {
  public:
    void signal() {
        const std::lock_guard lock(mutex_);
        signalled_ = true;
        condition_.notify_all();
    }

    void waitFor(std::chrono::milliseconds deadline) {
        std::unique_lock lock(mutex_);
        condition_.wait_for(lock, deadline, [this] { return signalled_; });
    }

  private:
    std::mutex mutex_;
    std::condition_variable condition_;
    bool signalled_ = false;
};

}  // namespace

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
    const auto replied = std::make_shared<ReplySignal>();
    if (service) {
        service->replyDataBlockForKey(answerKey, *std::move(message),
                                      [replied, &log](const std::string& reply) {
                                          log.write("Reply Received " + reply);
                                          replied->signal();
                                      });
    }
    replied->waitFor(deadline);
}

}  // namespace velunor
