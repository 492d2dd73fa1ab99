#pragma once

#include <chrono>
#include <optional>
#include <string>
#include <variant>

#include "platform/directory_service.h"
#include "platform/posix/file_descriptor.h"
#include "platform/secret.h"

namespace velunor {

// The two ways to the program that asks PAM. Both send the whole request first, without waiting for
// the other side, and give its answer, up to the end of the stream.

using SteadyDeadline = std::chrono::steady_clock::time_point;

/// The error of a way to the program: `error` is errno's number, `operation` what failed.
[[nodiscard]] DirectoryError helperError(int error, const std::string& operation);

/// Reads up to the end of the stream, no later than the deadline. An answer of more than the
/// protocol's longest line is an error.
[[nodiscard]] DirectoryResult<std::string> readHelperAnswer(int stream, SteadyDeadline deadline);

/// Asks the system service at `path`; none when no service listens there. A socket of another user
/// than root and the caller's own gets nothing and is an error.
[[nodiscard]] std::optional<DirectoryResult<std::string>> askHelperSocket(const std::string& path,
                                                                          const Secret& request,
                                                                          SteadyDeadline deadline);

/// Starts the program as a child and asks it. One that ends with another status than 0 after the
/// answer of an accepted password is an error; it is killed at the deadline. A program that others
/// than root and the caller's own user may change is not started.
[[nodiscard]] DirectoryResult<std::string> askHelperProcess(const std::string& program,
                                                            const Secret& request,
                                                            SteadyDeadline deadline);

}  // namespace velunor
