#pragma once

#include <string>

#include "platform/posix/file_descriptor.h"
#include "tools/osupdate_checkpass/step_limit.h"

namespace velunor {

/// Connects a TCP socket to the first address of `host` that answers, and looks the name up before,
/// all in one step. A silent address uses up no more than its share of the time. The socket is
/// close-on-exec.
[[nodiscard]] Expected<FileDescriptor, DirectoryError> connectSocket(const std::string& host,
                                                                     int port, StepLimit& steps);

}  // namespace velunor
