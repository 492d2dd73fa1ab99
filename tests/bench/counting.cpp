#include "tests/bench/counting.h"

#include <algorithm>
#include <fstream>
#include <stdexcept>
#include <string_view>

namespace velunor::testing {
namespace {

/// What was counted up to a moment, and what that moment was.
struct Count {
    double instructions = 0;
    std::string until;
};

/// What the file holds once it is complete.
std::optional<Count> countIn(const std::filesystem::path& path) {
    const std::string total = "totals: ";
    const std::string trigger = "desc: Trigger: --dump-before=";
    std::ifstream file(path);
    Count count;
    for (std::string line; std::getline(file, line);) {
        if (line.starts_with(trigger)) {
            count.until = line.substr(trigger.size());
        } else if (line.starts_with(total) && !file.eof()) {
            count.instructions = std::stod(line.substr(total.size()));
            return count;
        }
    }
    return std::nullopt;
}

/// The counts that are complete, in their order.
std::vector<Count> countsIn(const std::filesystem::path& path) {
    std::vector<Count> all;
    while (const std::optional<Count> next =
               countIn(path.string() + "." + std::to_string(all.size() + 1))) {
        all.push_back(*next);
    }
    return all;
}

/// The sum of what stands after each of the keys in a file of "key: number" lines.
double sumOf(const std::filesystem::path& path, const std::vector<std::string>& keys) {
    std::ifstream file(path);
    double sum = 0;
    std::size_t found = 0;
    for (std::string line; std::getline(file, line);) {
        const std::string key = line.substr(0, line.find(':'));
        if (std::ranges::find(keys, key) != keys.end()) {
            sum += std::stod(line.substr(key.size() + 1));
            ++found;
        }
    }
    if (found != keys.size()) {
        throw std::runtime_error(path.string() + " does not tell all; are you root?");
    }
    return sum;
}

std::filesystem::path placeOf(pid_t process) {
    return "/proc/" + std::to_string(process);
}

}  // namespace

std::vector<std::string> countingInstructions(const std::vector<std::string>& command,
                                              const std::filesystem::path& path,
                                              const std::vector<std::string>& moments) {
    std::vector<std::string> counting{"valgrind", "--tool=callgrind",
                                      "--callgrind-out-file=" + path.string()};
    for (const std::string& moment : moments) {
        counting.push_back("--dump-before=" + moment);
    }
    counting.insert(counting.end(), command.begin(), command.end());
    return counting;
}

std::optional<double> instructionsUntil(const std::filesystem::path& path,
                                        const std::string& moment) {
    double sum = 0;
    for (const Count& count : countsIn(path)) {
        sum += count.instructions;
        if (count.until == moment) {
            return sum;
        }
    }
    return std::nullopt;
}

std::vector<double> instructionsOfTicks(const std::filesystem::path& path,
                                        const std::string& moment, const std::string& tick) {
    std::vector<double> instructions;
    bool passed = false;
    for (const Count& count : countsIn(path)) {
        if (passed && count.until == tick) {
            instructions.push_back(count.instructions);
        }
        passed = passed || count.until == moment;
    }
    return instructions;
}

ThreadCosts costsOf(pid_t process) {
    ThreadCosts costs;
    for (const auto& thread : std::filesystem::directory_iterator(placeOf(process) / "task")) {
        double nanoseconds = 0;
        std::ifstream(thread.path() / "schedstat") >> nanoseconds;
        costs[thread.path().filename()] = {
            .processorMilliseconds = nanoseconds / 1e6,
            .contextSwitches = sumOf(thread.path() / "status",
                                     {"voluntary_ctxt_switches", "nonvoluntary_ctxt_switches"})};
    }
    return costs;
}

Cost costBetween(const ThreadCosts& before, const ThreadCosts& after) {
    Cost cost;
    for (const auto& [thread, now] : after) {
        const auto known = before.find(thread);
        const Cost then = known == before.end() ? Cost{} : known->second;
        cost.processorMilliseconds += now.processorMilliseconds - then.processorMilliseconds;
        cost.contextSwitches += now.contextSwitches - then.contextSwitches;
    }
    return cost;
}

Memory memoryOf(pid_t process) {
    const std::filesystem::path file = placeOf(process) / "smaps_rollup";
    return {.proportional = sumOf(file, {"Pss"}), .own = sumOf(file, {"Pss_Anon"})};
}

std::vector<std::string> tracingCalls(const std::vector<std::string>& command,
                                      const std::filesystem::path& path) {
    std::vector<std::string> tracing{"strace", "-f", "-qq", "-ttt", "-o", path.string()};
    tracing.insert(tracing.end(), command.begin(), command.end());
    return tracing;
}

Calls callsBetween(const std::filesystem::path& path, double begin, double end) {
    Calls calls;
    std::ifstream file(path);
    // "1234 1700000000.123456 openat(AT_FDCWD, "/etc/ld.so.cache", O_RDONLY) = 3"
    for (std::string line; std::getline(file, line);) {
        const std::size_t time = line.find_first_not_of(' ', line.find(' '));
        const std::size_t call = line.find(' ', time) + 1;
        const bool isEvent = line.compare(call, 3, "---") == 0 || line.compare(call, 3, "+++") == 0;
        if (time == std::string::npos || call == 0 || isEvent) {
            continue;
        }
        const double moment = std::stod(line.substr(time));
        if (moment < begin || moment >= end) {
            continue;
        }
        // A call during which another thread was scheduled has two lines, the result in the second.
        constexpr std::string_view secondLine = "<... ";
        const bool isSecond = line.compare(call, secondLine.size(), secondLine) == 0;
        calls.all += isSecond ? 0 : 1;
        const std::size_t name = isSecond ? call + secondLine.size() : call;
        if (line.compare(name, 4, "open") == 0 && !line.ends_with("<unfinished ...>")) {
            const bool missing = line.find("= -1 ENOENT", call) != std::string::npos;
            ++(missing ? calls.filesMissing : calls.filesOpened);
        }
    }
    return calls;
}

}  // namespace velunor::testing
