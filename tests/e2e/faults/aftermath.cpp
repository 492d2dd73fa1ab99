#include "tests/e2e/faults/aftermath.h"

#include <unistd.h>

#include <fstream>
#include <optional>
#include <regex>
#include <sstream>
#include <utility>

#include "tests/e2e/credentials/memory.h"
#include "tests/support/wait.h"

namespace velunor::testing {
namespace {

struct Process {
    std::string name;
    char state = 0;
    pid_t parent = 0;
};

/// None where it has gone meanwhile.
std::optional<Process> processOf(pid_t number) {
    // "number (name) state parent ..."
    std::string line;
    std::getline(std::ifstream("/proc/" + std::to_string(number) + "/stat"), line);
    const std::size_t begin = line.find('(');
    const std::size_t end = line.rfind(')');
    if (begin == std::string::npos || end == std::string::npos) {
        return std::nullopt;
    }
    Process process{.name = line.substr(begin + 1, end - begin - 1)};
    std::istringstream(line.substr(end + 1)) >> process.state >> process.parent;
    return process;
}

/// What a desktop's message bus starts once somebody asks for it.
bool isOfTheDesktop(const Process& process) {
    static const std::set<std::string> names{"at-spi2-registr", "at-spi-bus-laun", "dbus-daemon"};
    return names.contains(process.name);
}

/// The logs that a prompt keeps, and what the test has it write to.
bool isLog(const std::filesystem::path& file) {
    const std::string name = file.filename();
    return name == "rebootaccess.log" || name == "out" || name == "err" ||
           (name.starts_with("OSUpdateNotification_") && name.ends_with(".log"));
}

std::set<std::filesystem::path> filesIn(const std::filesystem::path& directory) {
    std::set<std::filesystem::path> files;
    for (const auto& entry : std::filesystem::recursive_directory_iterator(
             directory, std::filesystem::directory_options::skip_permission_denied)) {
        files.insert(entry.path());
    }
    return files;
}

}  // namespace

Aftermath::Aftermath(std::filesystem::path directory)
    : directory_(std::move(directory)), files_(filesIn(directory_)) {
    for (const pid_t process : otherProcesses()) {
        processes_.insert(process);
    }
}

std::vector<std::string> Aftermath::newProcesses() const {
    std::vector<std::string> left;
    for (const pid_t number : otherProcesses()) {
        const auto process = processOf(number);
        const bool isReaped = process && process->state == 'Z' && process->parent == ::getpid();
        if (process && !isReaped && !processes_.contains(number) && !isOfTheDesktop(*process)) {
            left.push_back(process->name + " " + process->state);
        }
    }
    return left;
}

std::vector<std::string> Aftermath::processesLeft() const {
    std::vector<std::string> left;
    static_cast<void>(eventually(
        [&] {
            left = newProcesses();
            return left.empty();
        },
        std::chrono::seconds(5)));
    return left;
}

std::vector<std::string> Aftermath::filesLeft() const {
    std::vector<std::string> left;
    for (const std::filesystem::path& file : filesIn(directory_)) {
        if (!files_.contains(file) && !isLog(file)) {
            left.push_back(file);
        }
    }
    return left;
}

std::vector<std::string> childrenOf(pid_t process) {
    std::vector<std::string> children;
    for (const pid_t number : otherProcesses()) {
        if (const auto child = processOf(number); child && child->parent == process) {
            children.push_back(child->name + " " + child->state);
        }
    }
    return children;
}

std::vector<pid_t> processesNamed(const std::string& name) {
    std::vector<pid_t> named;
    for (const pid_t number : otherProcesses()) {
        const auto process = processOf(number);
        if (process && process->name == name && process->state != 'Z') {
            named.push_back(number);
        }
    }
    return named;
}

AccessLogEntries entriesOf(const std::string& accessLog) {
    const std::string stamp = R"(\d{4}-\d{2}-\d{2} \d{2}:\d{2}:\d{2})";
    const std::regex start("\n" + stamp + "\t\tOSUpdate\t\t[^\t\n]+\t\t" +
                           "With(out)? Credentials - (true|false) - Debian 12\\.9 - -?\\d+ mins");
    const std::regex end("\t\t(proceed|postpone) - [^\t\n]+\t\t[^\t\n]+\t\t" + stamp);
    AccessLogEntries entries;
    auto at = accessLog.cbegin();
    while (at != accessLog.cend()) {
        std::smatch found;
        if (std::regex_search(at, accessLog.cend(), found, start,
                              std::regex_constants::match_continuous)) {
            ++entries.starts;
        } else if (std::regex_search(at, accessLog.cend(), found, end,
                                     std::regex_constants::match_continuous)) {
            ++entries.ends;
            entries.proceeds += found[1] == "proceed" ? 1 : 0;
        } else {
            entries.torn = std::string(at, accessLog.cend()).substr(0, 120);
            break;
        }
        at = found[0].second;
    }
    return entries;
}

}  // namespace velunor::testing
