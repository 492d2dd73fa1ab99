#pragma once

#include <sys/types.h>

namespace velunor {

/// Whether `process` is `ancestor` or one of its descendants. Both are running.
[[nodiscard]] bool descendsFrom(pid_t process, pid_t ancestor);

}  // namespace velunor
