#pragma once

#include <string>

#include "platform/process.h"
#include "platform/system_log.h"

namespace velunor::OSUpdateUtil {

/// Makes the access-log file with mode 0666, whatever the umask, unless something is there
/// already. Never fails to the caller; each outcome is a log line.
void createLogFileIfNeeded(const std::string& at, SystemLog& log);

/// The present moment in the process's time zone as "yyyy-MM-dd HH:mm:ss".
[[nodiscard]] std::string getLocalDateTimeString(const Clock& clock);

}  // namespace velunor::OSUpdateUtil
