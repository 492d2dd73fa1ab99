#pragma once

#include <chrono>

#include "platform/directory_service.h"

namespace velunor {

/// Bounds each step of a check, whatever the libraries do in it: when a step takes longer, the
/// process tells its error on the answer's stream and ends. One object at a time, in a process of
/// one thread.
class StepLimit {
  public:
    /// `limit` is that of each step.
    StepLimit(int answerStream, std::chrono::seconds limit);
    StepLimit(const StepLimit&) = delete;
    StepLimit& operator=(const StepLimit&) = delete;
    ~StepLimit() { end(); }

    /// A step begins now, and the one before is over.
    void begin(const DirectoryError& errorAtTheLimit);
    void end();

    [[nodiscard]] std::chrono::seconds limit() const { return limit_; }

  private:
    std::chrono::seconds limit_;
};

}  // namespace velunor
