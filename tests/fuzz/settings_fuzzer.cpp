// The agent's settings: what is accepted keeps to the promises of its fields and, written anew, is
// read as the same; an error names file and line.
#include "agent/linux/settings.h"
#include "tests/fuzz/fuzzing.h"

namespace velunor {
namespace {

std::string quoted(const std::string& text) {
    constexpr std::string_view digits = "0123456789ABCDEF";
    std::string out = "\"";
    for (const char character : text) {
        const auto byte = static_cast<unsigned char>(character);
        if (byte < 0x20U || byte == 0x7FU) {
            out += {'\\', 'u', '0', '0', digits[byte >> 4U], digits[byte & 0x0FU]};
        } else {
            out += character == '"' || character == '\\' ? "\\" : "";
            out += character;
        }
    }
    return out + "\"";
}

std::string line(const std::string& key, const std::string& value) {
    return value.empty() ? std::string() : key + " = " + quoted(value) + "\n";
}

std::string line(const std::string& key, const std::vector<std::string>& values) {
    std::string out = key + " = [";
    for (const std::string& value : values) {
        out += quoted(value) + ", ";
    }
    return out + "]\n";
}

std::string written(const AgentSettings& settings) {
    const LinuxDirectorySettings& directory = settings.directory;
    std::string text = "[agent]\nproduct_name = " + quoted(settings.productName) + "\n" +
                       line("base_path", settings.basePath) + line("data_path", settings.dataPath) +
                       line("log_path", settings.logPath) + "[service]\n";
    if (settings.bus) {
        text += line("bus", settings.bus == ServiceBus::session ? "session" : "system");
    }
    text += "[credentials]\n" + line("admin_groups", settings.adminGroups) +
            line("secure_token_tool", settings.secureTokenTool) +
            line("credential_checker", directory.checker.program) +
            line("credential_checker_socket", directory.checker.socketPath) + "[directory]\n" +
            line("search_path", directory.searchPath);
    for (const auto& [name, node] : directory.nodes) {
        text += "[directory.node." + quoted(name) + "]\nuri = " + quoted(node.uri) + "\n" +
                line("user_base", node.userBase) + "user_filter = " + quoted(node.userFilter) +
                "\n" + line("ca_file", node.certificateAuthorities) +
                "timeout_seconds = " + std::to_string(node.timeout.count()) + "\n";
    }
    return text;
}

}  // namespace

void fuzz(std::string_view input) {
    const auto settings = parseSettings(input, "settings.toml");
    if (!settings) {
        require(settings.error().description.starts_with("settings.toml:"));
        return;
    }
    for (const auto& path : {settings->basePath, settings->dataPath, settings->logPath,
                             settings->secureTokenTool, settings->directory.checker.program}) {
        require(path.starts_with('/') && path.find('\0') == std::string::npos);
    }
    for (const auto& [name, node] : settings->directory.nodes) {
        require(node.timeout >= std::chrono::seconds(1) && node.timeout <= std::chrono::minutes(1));
    }
    const std::string text = written(*settings);
    const auto again = parseSettings(text, "settings.toml");
    require(again.has_value() && again->unknownKeys.empty() && written(*again) == text);
}

}  // namespace velunor
