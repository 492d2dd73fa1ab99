#pragma once

namespace velunor {

/// What `ostrel-agent` exits with, so that a script can tell the answers and the failures apart.
enum class AgentExit : int {
    proceed = 0,
    usage = 2,
    noService = 3,
    noAnswer = 4,
    timeout = 5,
    postpone = 10,
};

}  // namespace velunor
