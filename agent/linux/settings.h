#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "platform/expected.h"
#include "platform/linux/directory/directory_settings.h"

namespace velunor {

/// Which message bus the agent service is on.
enum class ServiceBus { system, session };

/// The agent's settings, as its file has them.
struct AgentSettings {
    std::string productName = "Ostrel Agent";
    std::string basePath;
    std::string dataPath;
    std::string logPath;
    /// None where the file leaves it to `serviceBus`.
    std::optional<ServiceBus> bus;
    std::vector<std::string> adminGroups{"sudo", "wheel", "admin"};
    std::string secureTokenTool = "/usr/sbin/sysadminctl";
    LinuxDirectorySettings directory;
    /// Keys that the file has and the agent does not know, each with its place.
    std::vector<std::string> unknownKeys;
};

/// The largest settings file: 1 MiB.
inline constexpr std::size_t largestSettingsFile = std::size_t{1024} * 1024;

/// Reads the settings in `text`; `file` is its name for errors, which also tell line and key as far
/// as they apply. Any thread.
[[nodiscard]] Expected<AgentSettings> parseSettings(std::string_view text, const std::string& file);

/// Reads the settings file at `path`. Any thread.
[[nodiscard]] Expected<AgentSettings> loadSettings(const std::string& path);

/// The settings file to use: the system's, or the one that the environment variable
/// VELUNOR_AGENT_SETTINGS names unless the process is privileged. Only an absolute path will do:
/// any other would be another file in another working directory. Any thread.
[[nodiscard]] Expected<std::string> settingsPath();

/// The bus on which to reach the agent service: that of the settings, else the one ("session" or
/// "system") that the environment variable VELUNOR_AGENT_BUS names unless the process is
/// privileged, else the system's. Any thread.
[[nodiscard]] ServiceBus serviceBus(const AgentSettings& settings);

/// The agent's settings: those of the file once `TarnUtilMac::initializeAgentParams` has read it,
/// defaults before that or when it could not be read. Main thread.
[[nodiscard]] const AgentSettings& loadedSettings();

}  // namespace velunor
