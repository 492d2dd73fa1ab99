#pragma once

#include <string_view>

#include "platform/interface.h"

namespace velunor {

/// The system log, where every diagnostic line of the program goes. Any thread.
class SystemLog : public Interface {
  public:
    /// Writes one record. Line breaks inside `message` are escaped, so it stays one. A failure to
    /// write is not reported.
    virtual void write(std::string_view message) = 0;
};

}  // namespace velunor
