#pragma once

#include <functional>
#include <mutex>
#include <string>
#include <string_view>
#include <vector>

#include "platform/system.h"

namespace velunor::testing {

/// Keeps every line that is written.
class RecordingLog : public SystemLog {
  public:
    void write(std::string_view message) override {
        if (atLine) {
            atLine(message);
        }
        const std::scoped_lock lock(mutex_);
        lines_.emplace_back(message);
    }

    [[nodiscard]] std::vector<std::string> lines() const {
        const std::scoped_lock lock(mutex_);
        return lines_;
    }

    /// Called before a line is kept, to look at what is there at that moment.
    std::function<void(std::string_view)> atLine;

  private:
    mutable std::mutex mutex_;
    std::vector<std::string> lines_;
};

}  // namespace velunor::testing
