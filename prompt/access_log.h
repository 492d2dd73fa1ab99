#pragma once

#include <string>
#include <string_view>

#include "platform/system.h"
#include "prompt/os_update_input.h"
#include "prompt/os_update_notification_response.h"

namespace velunor {
namespace OSUpdateUtil {

/// Makes the access-log file with mode 0666, whatever the umask, unless something is there
/// already. It appears under its name when it has its mode. Never fails to the caller; each outcome
/// is a log line.
void createLogFileIfNeeded(const std::string& at, SystemLog& log);

/// The present moment as "yyyy-MM-dd HH:mm:ss" in the zone that TZ, or else the system, has now.
[[nodiscard]] std::string getLocalDateTimeString(const Clock& clock);

}  // namespace OSUpdateUtil

/// The record, shared by all users of the machine, of every prompt and of how it ended: one line a
/// prompt, begun when it opens and completed when it is answered. Main thread only.
class AccessLog {
  public:
    AccessLog(std::string path, const ProcessInfo& processInfo, const Clock& clock, SystemLog& log);

    /// Makes the file where needed and begins this prompt's line.
    void printStartingEntry(const OSUpdateInput& input);

    /// Completes this prompt's line with the answer, the reason for it and the time.
    void printEndingEntry(const OSUpdateNotificationResponse& response, std::string_view reason);

  private:
    std::string path_;
    const ProcessInfo& processInfo_;
    const Clock& clock_;
    SystemLog& log_;
};

}  // namespace velunor
