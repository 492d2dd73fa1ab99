#pragma once

namespace velunor {

/// Ends the process at once because of a programming error: no message, no clean-up, no exit
/// handlers (the process dies of SIGABRT). Never returns. Callable from any thread.
[[noreturn]] void fatalStop() noexcept;

}  // namespace velunor
