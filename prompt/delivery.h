#pragma once

#include <chrono>

#include "platform/system.h"
#include "prompt/os_update_notification_response.h"

namespace velunor {

/// What the agent service knows an answer by.
inline constexpr const char* answerKey = "PatchOSUpdateNotificationStatus";

/// How long an answer waits for the service's reply.
inline constexpr std::chrono::milliseconds replyDeadline = std::chrono::seconds(10);

/// Hands the answer to the agent service and waits until it replies or `deadline` has passed,
/// also when there is no service. A password in the answer is wiped before the wait. An answer that
/// cannot be coded is a log line and returns at once. Blocks the calling thread; `log` is also
/// written to by the library's thread and must live until the process ends.
void deliverToService(OSUpdateNotificationResponse response, SystemLog& log,
                      std::chrono::milliseconds deadline = replyDeadline);

}  // namespace velunor
