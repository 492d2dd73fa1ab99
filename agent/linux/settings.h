#pragma once

#include <cstddef>
#include <map>
#include <string>
#include <string_view>
#include <vector>

#include "platform/expected.h"

namespace velunor {

/// Which message bus the agent service is on.
enum class ServiceBus { system, session };

/// A network directory node.
struct DirectoryNodeSettings {
    std::string uri;
    std::string userBase;
    std::string userFilter = "(uid=%u)";
    /// File with the certificates of the authorities to trust; empty for the system's own.
    std::string caFile;
    /// Limit for connecting, TLS and each answer; 1 to 60.
    int timeoutSeconds = 5;
};

/// The agent's settings, as its file has them.
struct AgentSettings {
    std::string productName = "Ostrel Agent";
    std::string basePath;
    std::string dataPath;
    std::string logPath;
    ServiceBus bus = ServiceBus::system;
    std::vector<std::string> adminGroups{"sudo", "wheel", "admin"};
    std::string secureTokenTool = "/usr/sbin/sysadminctl";
    /// The program that asks PAM, and the socket of the system service that runs it.
    std::string passwordHelper = "/opt/velunor/ostrel_agent/bin/osupdate-checkpass";
    std::string passwordSocket = "/run/velunor/osupdate-checkpass.socket";
    std::vector<std::string> searchPath{"/Local/Default"};
    std::map<std::string, DirectoryNodeSettings> directoryNodes;
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
/// VELUNOR_AGENT_SETTINGS names unless the process is privileged. Any thread.
[[nodiscard]] std::string settingsPath();

}  // namespace velunor
