#pragma once

#include <chrono>
#include <string_view>

#include "platform/directory_service.h"

namespace velunor {

/// An error of the network directory: what failed, the meaning of `code` (an LDAP result code), and
/// what the server or a library tells about it. One line; of a long detail only the beginning.
[[nodiscard]] DirectoryError ldapError(int code, std::string_view what,
                                       std::string_view detail = {});

/// What bounds the steps of a check.
struct StepLimit {
    int answerStream;
    /// That of each step.
    std::chrono::seconds limit;
};

/// A step of a check, to the end of this object's life. When it takes longer than the limit,
/// whatever the libraries do in it, the process tells the step's error on the answer's stream and
/// ends. One object at a time, in a process of one thread.
class Step {
  public:
    Step(const StepLimit& limit, const DirectoryError& errorAtTheLimit);
    Step(const Step&) = delete;
    Step& operator=(const Step&) = delete;
    ~Step();
};

}  // namespace velunor
