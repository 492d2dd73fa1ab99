#pragma once

#include <sys/types.h>

namespace velunor {

/// Whether `process` is `ancestor`, or was started by it or by what it started. Of processes that
/// run now.
[[nodiscard]] bool descendsFrom(pid_t process, pid_t ancestor);

}  // namespace velunor
