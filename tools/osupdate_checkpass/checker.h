#pragma once

#include <chrono>

namespace velunor {

/// The whole program: answers one request on the standard streams and gives the exit status, 0 for
/// an accepted password, 1 for any other answer, 2 for a wrong command line. Waits no longer than
/// `timeLimit` for the request, and together with it for PAM's answer. Changes everything that
/// belongs to a process; of one thread.
[[nodiscard]] int runChecker(int argc, char** argv, std::chrono::milliseconds timeLimit);

}  // namespace velunor
