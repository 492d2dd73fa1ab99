#include "tools/ostrel_agent/process_tree.h"

#include <fstream>
#include <sstream>
#include <string>
#include <string_view>

namespace velunor {
namespace {

/// 0 for the first process, and for one that is not there.
pid_t parentOf(pid_t process) {
    std::ifstream status("/proc/" + std::to_string(process) + "/status");
    constexpr std::string_view key = "PPid:";
    for (std::string line; std::getline(status, line);) {
        if (line.starts_with(key)) {
            pid_t parent = 0;
            std::istringstream(line.substr(key.size())) >> parent;
            return parent;
        }
    }
    return 0;
}

}  // namespace

bool descendsFrom(pid_t process, pid_t ancestor) {
    while (process > 0 && process != ancestor) {
        process = parentOf(process);
    }
    return process > 0;
}

}  // namespace velunor
