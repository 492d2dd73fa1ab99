#include "tests/linux/agent/agent_files.h"

#include <cstdlib>
#include <sstream>
#include <stdexcept>

#include "agent/ltarnutils.h"

namespace velunor::testing {

AgentFiles::AgentFiles() {
    for (const char* name : {"base/i18n", "data", "log/UserLogs"}) {
        std::filesystem::create_directories(directory() / name);
    }
    // A service under another user has to reach the bus in here.
    std::filesystem::permissions(directory(), std::filesystem::perms(0755));
    for (const char* name : {"LANGUAGE", "LC_ALL", "LC_MESSAGES", "LANG"}) {
        unsetenv(name);
    }
    for (const auto& [name, value] : environment()) {
        setenv(name.c_str(), value.c_str(), 1);
    }
    writeSettings("session");
}

void AgentFiles::writeSettings(const std::string& bus) const {
    const std::string root = directory().string();
    writeFile(settingsFile(), "[agent]\nproduct_name = \"Test Agent\"\nbase_path = \"" + root +
                                  "/base\"\ndata_path = \"" + root + "/data\"\nlog_path = \"" +
                                  root + "/log\"\n\n[service]\nbus = \"" + bus + "\"\n");
}

void AgentFiles::initialiseLibrary() {
    TarnUtilMac util;
    util.initializeTarnGlobal();
    util.initializeAgentParams();
    Log::changeLogStream("OSUpdateNotification_jdoe", true);
}

testing::Environment AgentFiles::environment() const {
    testing::Environment environment{
        {"PATH", "/usr/local/bin:/usr/bin:/bin"},
        {"XDG_RUNTIME_DIR", (directory() / "absent").string()},
        {"DBUS_SYSTEM_BUS_ADDRESS", PrivateBus::addressIn(directory())},
        {"DBUS_SESSION_BUS_ADDRESS", PrivateBus::addressIn(directory())},
        {"VELUNOR_AGENT_SETTINGS", settingsFile().string()}};
    for (const char* passed : {"ASAN_OPTIONS", "UBSAN_OPTIONS", "LSAN_OPTIONS", "TSAN_OPTIONS"}) {
        if (const char* value = std::getenv(passed)) {
            environment[passed] = value;
        }
    }
    return environment;
}

FakeService::FakeService(const std::filesystem::path& directory, const std::string& address,
                         const std::string& mode, const std::string& user)
    : output_(directory / "requests"),
      process_(Command{.arguments = {FAKE_SERVICE_PROGRAM, address, mode, user},
                       .environment = {},
                       .output = output_,
                       .errors = directory / "service.log"}) {
    if (!eventually([this] { return readFile(output_).starts_with("ready\n"); })) {
        throw std::runtime_error("the fake service did not start: " +
                                 readFile(directory / "service.log"));
    }
}

std::vector<std::string> FakeService::requests() const {
    std::istringstream lines(readFile(output_));
    std::vector<std::string> found;
    for (std::string line; std::getline(lines, line);) {
        if (line != "ready") {
            found.push_back(line);
        }
    }
    return found;
}

std::string hexadecimal(const std::string& bytes) {
    constexpr std::string_view digits = "0123456789abcdef";
    std::string text;
    for (const char byte : bytes) {
        const auto value = static_cast<unsigned char>(byte);
        text += digits[value >> 4U];
        text += digits[value & 15U];
    }
    return text;
}

}  // namespace velunor::testing
