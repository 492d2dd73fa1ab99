#include "agent/linux/settings.h"

#include <toml++/toml.h>

#include <cstdlib>
#include <functional>
#include <set>
#include <utility>

#include "platform/file.h"

namespace velunor {

namespace {

/// Reads typed keys out of a parsed file and keeps the first error.
class Reader {
  public:
    Reader(std::string file, std::vector<std::string>& unknownKeys)
        : file_(std::move(file)), unknownKeys_(unknownKeys) {}

    /// The table under `key`; null when it is absent or, which is an error, not a table.
    const toml::table* table(const toml::table& parent, std::string_view key,
                             const std::string& name) {
        const toml::node* node = parent.get(key);
        if (node == nullptr) {
            return nullptr;
        }
        if (!node->is_table()) {
            fail(*node, name, "is not a table");
        }
        return node->as_table();
    }

    void text(const toml::table& table, const std::string& section, std::string_view key,
              std::string& target) {
        const toml::node* node = table.get(key);
        if (node == nullptr) {
            return;
        }
        const auto value = node->value_exact<std::string>();
        if (!value) {
            fail(*node, named(section, key), "is not a text");
        } else if (value->find('\0') != std::string::npos) {
            fail(*node, named(section, key), "holds a NUL character");
        } else {
            target = *value;
        }
    }

    void path(const toml::table& table, const std::string& section, std::string_view key,
              std::string& target) {
        text(table, section, key, target);
        const toml::node* node = table.get(key);
        if (node != nullptr && !target.starts_with('/')) {
            fail(*node, named(section, key), "is not an absolute path");
        }
    }

    void required(const toml::table& table, const std::string& section, std::string_view key) {
        if (table.get(key) == nullptr) {
            fail(table, named(section, key), "is missing");
        }
    }

    void texts(const toml::table& table, const std::string& section, std::string_view key,
               std::vector<std::string>& target) {
        const toml::node* node = table.get(key);
        if (node == nullptr) {
            return;
        }
        const toml::array* array = node->as_array();
        std::vector<std::string> values;
        if (array == nullptr) {
            fail(*node, named(section, key), "is not a list of texts");
            return;
        }
        for (const toml::node& element : *array) {
            const auto value = element.value_exact<std::string>();
            if (!value || value->find('\0') != std::string::npos) {
                fail(element, named(section, key), "is not a list of texts");
                return;
            }
            values.push_back(*value);
        }
        target = std::move(values);
    }

    void seconds(const toml::table& table, const std::string& section, std::string_view key,
                 int highest, std::chrono::seconds& target) {
        const toml::node* node = table.get(key);
        if (node == nullptr) {
            return;
        }
        const auto value = node->value_exact<std::int64_t>();
        if (!value || *value < 1 || *value > highest) {
            fail(*node, named(section, key),
                 "is not a whole number from 1 to " + std::to_string(highest));
            return;
        }
        target = std::chrono::seconds(*value);
    }

    void noteUnknown(const toml::table& table, const std::string& section,
                     const std::set<std::string_view>& known) {
        for (const auto& [key, node] : table) {
            if (!known.contains(key.str())) {
                unknownKeys_.push_back(place(node) + "unknown key " + named(section, key.str()));
            }
        }
    }

    void fail(const toml::node& node, const std::string& key, const std::string& reason) {
        if (error_.empty()) {
            error_ = place(node) + key + " " + reason;
        }
    }

    static std::string named(const std::string& section, std::string_view key) {
        return section.empty() ? std::string(key) : section + "." + std::string(key);
    }

    [[nodiscard]] const std::string& error() const { return error_; }

  private:
    [[nodiscard]] std::string place(const toml::node& node) const {
        return file_ + ":" + std::to_string(node.source().begin.line) + ": ";
    }

    std::string file_;
    std::vector<std::string>& unknownKeys_;
    std::string error_;
};

void readAgent(Reader& reader, const toml::table& root, AgentSettings& settings) {
    const toml::table* agent = reader.table(root, "agent", "agent");
    if (agent == nullptr) {
        reader.fail(root, "agent", "is missing");
        return;
    }
    reader.text(*agent, "agent", "product_name", settings.productName);
    reader.path(*agent, "agent", "base_path", settings.basePath);
    reader.path(*agent, "agent", "data_path", settings.dataPath);
    reader.path(*agent, "agent", "log_path", settings.logPath);
    // A key that is there and wrong is told before one that is missing.
    for (const char* key : {"base_path", "data_path", "log_path"}) {
        reader.required(*agent, "agent", key);
    }
    reader.noteUnknown(*agent, "agent", {"product_name", "base_path", "data_path", "log_path"});
}

void readService(Reader& reader, const toml::table& root, AgentSettings& settings) {
    const toml::table* service = reader.table(root, "service", "service");
    if (service == nullptr) {
        return;
    }
    std::string bus = "system";
    reader.text(*service, "service", "bus", bus);
    if (bus != "system" && bus != "session") {
        reader.fail(*service->get("bus"), "service.bus", R"(is neither "system" nor "session")");
    }
    settings.bus = bus == "session" ? ServiceBus::session : ServiceBus::system;
    reader.noteUnknown(*service, "service", {"bus"});
}

void readCredentials(Reader& reader, const toml::table& root, AgentSettings& settings) {
    const toml::table* credentials = reader.table(root, "credentials", "credentials");
    if (credentials == nullptr) {
        return;
    }
    reader.texts(*credentials, "credentials", "admin_groups", settings.adminGroups);
    reader.path(*credentials, "credentials", "secure_token_tool", settings.secureTokenTool);
    CredentialCheckerSettings& checker = settings.directory.checker;
    reader.path(*credentials, "credentials", "credential_checker", checker.program);
    reader.path(*credentials, "credentials", "credential_checker_socket", checker.socketPath);
    reader.noteUnknown(
        *credentials, "credentials",
        {"admin_groups", "secure_token_tool", "credential_checker", "credential_checker_socket"});
}

void readDirectory(Reader& reader, const toml::table& root, AgentSettings& settings) {
    constexpr int longestTimeout = 60;
    const toml::table* directory = reader.table(root, "directory", "directory");
    if (directory == nullptr) {
        return;
    }
    reader.texts(*directory, "directory", "search_path", settings.directory.searchPath);
    reader.noteUnknown(*directory, "directory", {"search_path", "node"});
    const toml::table* nodes = reader.table(*directory, "node", "directory.node");
    if (nodes == nullptr) {
        return;
    }
    for (const auto& [key, value] : *nodes) {
        const std::string name(key.str());
        const std::string section = "directory.node.\"" + name + "\"";
        const toml::table* node = reader.table(*nodes, name, section);
        if (node == nullptr) {
            continue;
        }
        DirectoryNodeSettings& target = settings.directory.nodes[name];
        reader.text(*node, section, "uri", target.uri);
        reader.text(*node, section, "user_base", target.userBase);
        reader.text(*node, section, "user_filter", target.userFilter);
        reader.path(*node, section, "ca_file", target.certificateAuthorities);
        reader.seconds(*node, section, "timeout_seconds", longestTimeout, target.timeout);
        reader.noteUnknown(*node, section,
                           {"uri", "user_base", "user_filter", "ca_file", "timeout_seconds"});
        reader.required(*node, section, "uri");
    }
}

}  // namespace

Expected<AgentSettings> parseSettings(std::string_view text, const std::string& file) {
    toml::table root;
    try {
        root = toml::parse(text, file);
    } catch (const toml::parse_error& error) {
        return Error{file + ":" + std::to_string(error.source().begin.line) + ": " +
                     std::string(error.description())};
    }
    AgentSettings settings;
    Reader reader(file, settings.unknownKeys);
    readAgent(reader, root, settings);
    readService(reader, root, settings);
    readCredentials(reader, root, settings);
    readDirectory(reader, root, settings);
    reader.noteUnknown(root, "", {"agent", "service", "credentials", "directory"});
    if (!reader.error().empty()) {
        return Error{reader.error()};
    }
    return settings;
}

Expected<AgentSettings> loadSettings(const std::string& path) {
    const auto bytes = readWholeFile(path);
    if (!bytes) {
        return Error{path + ": " + bytes.error().description};
    }
    const auto& content = *bytes;
    if (content.size() > largestSettingsFile) {
        return Error{path + ": is larger than " + std::to_string(largestSettingsFile) + " bytes"};
    }
    return parseSettings({reinterpret_cast<const char*>(content.data()), content.size()}, path);
}

std::string settingsPath() {
    const char* other = secure_getenv("VELUNOR_AGENT_SETTINGS");
    return other == nullptr || *other == '\0' ? "/etc/velunor/ostrel-agent.toml" : other;
}

}  // namespace velunor
