#pragma once

#include <string_view>

#include "platform/system.h"

namespace velunor {

/// Writes each record to standard error, with time, program and process id, and to the journal;
/// to syslog where no journal listens. Any thread; never waits for a reader.
class LinuxSystemLog final : public SystemLog {
  public:
    /// Puts standard streams that are closed on /dev/null; make it before any file is opened.
    LinuxSystemLog();

    void write(std::string_view message) override;
};

}  // namespace velunor
