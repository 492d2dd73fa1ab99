#pragma once

#include <chrono>
#include <string>

#include "platform/posix/file_descriptor.h"

namespace velunor {

/// A new local socket of the `type` of socket(2), close-on-exec and connected to the one at `path`.
/// Where there is none it is closed, with the reason in errno: ETIMEDOUT when the other side has
/// had no room for it up to the deadline, ENOENT or ECONNREFUSED when nobody listens. Any thread.
[[nodiscard]] FileDescriptor connectLocalSocket(
    int type, const std::string& path,
    std::chrono::steady_clock::time_point deadline = std::chrono::steady_clock::time_point::max());

}  // namespace velunor
