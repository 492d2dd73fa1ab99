#pragma once

#include <chrono>
#include <string>
#include <string_view>

#include "platform/interface.h"

namespace velunor {

/// Ends the process on purpose.
class ProcessExit : public Interface {
  public:
    /// Flushes what is written and leaves with `status`, without running the destructors of
    /// objects that another thread may still use. Never returns.
    [[noreturn]] virtual void exit(int status) = 0;
};

/// Who and where the process is.
class ProcessInfo : public Interface {
  public:
    /// Directory that holds the running program; empty when it cannot be found out.
    [[nodiscard]] virtual std::string bundlePath() const = 0;

    /// Login name of the user who runs the process, read afresh; empty when there is none.
    [[nodiscard]] virtual std::string userName() const = 0;
};

/// The wall clock.
class Clock : public Interface {
  public:
    [[nodiscard]] virtual std::chrono::system_clock::time_point now() const = 0;
};

/// A declared activity that keeps the system from idling while it lasts. Main thread only.
class ProcessActivity : public Interface {
  public:
    /// Names an activity that was begun; never 0.
    using Token = unsigned;

    /// Begins user-initiated work. Never blocks and never fails: where the system has no such
    /// service, that is a log line and the token stands for nothing.
    virtual Token beginUserInitiated(std::string_view reason) = 0;

    /// Ends the activity of `token`; an unknown token is passed over.
    virtual void end(Token token) = 0;
};

}  // namespace velunor
