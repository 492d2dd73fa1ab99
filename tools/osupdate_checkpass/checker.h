#pragma once

#include <chrono>

namespace velunor {

/// How long the checker waits.
struct CheckerLimits {
    /// For a whole request to the system service, from its connection on; who asks it sends at
    /// once.
    std::chrono::milliseconds request{std::chrono::seconds{1}};
    /// For everything up to PAM's answer. Longer than modules wait for a finger or a card (30
    /// seconds), shorter than whoever waits for the answer.
    std::chrono::milliseconds check{std::chrono::seconds{40}};
    /// For the next connection to the system service, before it ends.
    std::chrono::milliseconds idle{std::chrono::seconds{60}};
};

/// The whole program: answers one request on the standard streams and gives the exit status, 0 for
/// an accepted password, 1 for any other answer or none, 2 for a wrong command line. Changes
/// everything that belongs to a process; of one thread.
[[nodiscard]] int runChecker(int argc, char** argv, const CheckerLimits& limits);

}  // namespace velunor
