#include "agent/linux/settings.h"

#include <cstdlib>
#include <functional>
#include <set>
#include <utility>

#include "agent/linux/toml.h"
#include "platform/file.h"

namespace velunor {
namespace {

/// What is wrong with a file: the first error, and every key that nobody asked for.
struct Findings {
    std::string file;
    std::string error;
    std::vector<std::string> unknownKeys;

    [[nodiscard]] std::string place(const toml::node& node) const {
        return file + ":" + std::to_string(node.source().begin.line) + ": ";
    }
};

/// One table of a file. Reading a key that is absent leaves the target as it is.
class Section {
  public:
    Section(Findings& findings, const toml::table& table, std::string prefix = {})
        : findings_(findings), table_(table), prefix_(std::move(prefix)) {}

    /// The table under `key`, whose name stands between `quotes` in messages; one without keys
    /// where it is absent or, which is an error, not a table.
    Section section(std::string_view key, const std::string& quotes = {}) {
        static const toml::table nothing;
        const std::string name = quotes + std::string(key) + quotes;
        const toml::node* node = find(key);
        if (node != nullptr && !node->is_table()) {
            fail(*node, name, "is not a table");
        }
        const bool isTable = node != nullptr && node->is_table();
        return {findings_, isTable ? *node->as_table() : nothing, prefix_ + name + "."};
    }

    void text(std::string_view key, std::string& target) {
        const toml::node* node = find(key);
        if (node == nullptr) {
            return;
        }
        const auto value = node->value_exact<std::string>();
        if (!value) {
            fail(*node, key, "is not a text");
        } else if (value->find('\0') != std::string::npos) {
            fail(*node, key, "holds a NUL character");
        } else {
            target = *value;
        }
    }

    void path(std::string_view key, std::string& target) {
        text(key, target);
        const toml::node* node = find(key);
        if (node != nullptr && !target.starts_with('/')) {
            fail(*node, key, "is not an absolute path");
        }
    }

    void texts(std::string_view key, std::vector<std::string>& target) {
        const toml::node* node = find(key);
        if (node == nullptr) {
            return;
        }
        if (!node->is_array()) {
            fail(*node, key, "is not a list of texts");
            return;
        }
        target.clear();
        for (const toml::node& element : *node->as_array()) {
            const auto value = element.value_exact<std::string>();
            if (!value || value->find('\0') != std::string::npos) {
                fail(element, key, "is not a list of texts");
                return;
            }
            target.push_back(*value);
        }
    }

    void seconds(std::string_view key, int highest, std::chrono::seconds& target) {
        const toml::node* node = find(key);
        if (node == nullptr) {
            return;
        }
        const auto value = node->value_exact<std::int64_t>();
        if (!value || *value < 1 || *value > highest) {
            fail(*node, key, "is not a whole number from 1 to " + std::to_string(highest));
            return;
        }
        target = std::chrono::seconds(*value);
    }

    [[nodiscard]] bool has(std::string_view key) { return find(key) != nullptr; }

    void require(std::string_view key) {
        if (!has(key)) {
            fail(table_, key, "is missing");
        }
    }

    /// An error unless there was one before.
    void fail(std::string_view key, const std::string& reason) { fail(*find(key), key, reason); }

    /// Notes the keys that nobody has asked for so far.
    void noteUnknown() {
        for (const auto& [key, node] : table_) {
            if (!known_.contains(key.str())) {
                findings_.unknownKeys.push_back(findings_.place(node) + "unknown key " + prefix_ +
                                                std::string(key.str()));
            }
        }
    }

    [[nodiscard]] const toml::table& keys() const { return table_; }

  private:
    const toml::node* find(std::string_view key) {
        known_.emplace(key);
        return table_.get(key);
    }

    void fail(const toml::node& node, std::string_view key, const std::string& reason) {
        if (findings_.error.empty()) {
            findings_.error = findings_.place(node) + prefix_ + std::string(key) + " " + reason;
        }
    }

    Findings& findings_;
    const toml::table& table_;
    std::string prefix_;
    std::set<std::string, std::less<>> known_;
};

void readAgent(Section agent, AgentSettings& settings) {
    agent.text("product_name", settings.productName);
    agent.path("base_path", settings.basePath);
    agent.path("data_path", settings.dataPath);
    agent.path("log_path", settings.logPath);
    // A key that is there and wrong is told before one that is missing.
    for (const char* key : {"base_path", "data_path", "log_path"}) {
        agent.require(key);
    }
    agent.noteUnknown();
}

void readService(Section service, AgentSettings& settings) {
    std::string bus;
    service.text("bus", bus);
    if (bus == "system" || bus == "session") {
        settings.bus = bus == "session" ? ServiceBus::session : ServiceBus::system;
    } else if (service.has("bus")) {
        service.fail("bus", R"(is neither "system" nor "session")");
    }
    service.noteUnknown();
}

void readCredentials(Section credentials, AgentSettings& settings) {
    credentials.texts("admin_groups", settings.adminGroups);
    credentials.path("secure_token_tool", settings.secureTokenTool);
    // The prompt has env(1) start it, which would take such a path for a variable.
    if (settings.secureTokenTool.find('=') != std::string::npos) {
        credentials.fail("secure_token_tool", "holds \"=\", and env(1) would not start it");
    }
    credentials.path("credential_checker", settings.directory.checker.program);
    credentials.path("credential_checker_socket", settings.directory.checker.socketPath);
    credentials.noteUnknown();
}

void readDirectory(Section directory, AgentSettings& settings) {
    constexpr int longestTimeout = 60;
    directory.texts("search_path", settings.directory.searchPath);
    Section nodes = directory.section("node");
    directory.noteUnknown();
    for (const auto& [key, value] : nodes.keys()) {
        Section node = nodes.section(key.str(), "\"");
        DirectoryNodeSettings& target = settings.directory.nodes[std::string(key.str())];
        node.text("uri", target.uri);
        node.text("user_base", target.userBase);
        node.text("user_filter", target.userFilter);
        node.path("ca_file", target.certificateAuthorities);
        node.seconds("timeout_seconds", longestTimeout, target.timeout);
        node.noteUnknown();
        node.require("uri");
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
    Findings findings{.file = file, .error = {}, .unknownKeys = {}};
    Section whole(findings, root);
    whole.require("agent");
    readAgent(whole.section("agent"), settings);
    readService(whole.section("service"), settings);
    readCredentials(whole.section("credentials"), settings);
    readDirectory(whole.section("directory"), settings);
    whole.noteUnknown();
    if (!findings.error.empty()) {
        return Error{findings.error};
    }
    settings.unknownKeys = std::move(findings.unknownKeys);
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

ServiceBus serviceBus(const AgentSettings& settings) {
    const char* named = secure_getenv("VELUNOR_AGENT_BUS");
    const bool isSession = named != nullptr && std::string_view(named) == "session";
    return settings.bus.value_or(isSession ? ServiceBus::session : ServiceBus::system);
}

Expected<std::string> settingsPath() {
    const char* other = secure_getenv("VELUNOR_AGENT_SETTINGS");
    const std::string path =
        other == nullptr || *other == '\0' ? "/etc/velunor/ostrel-agent.toml" : other;
    if (!path.starts_with('/')) {
        return Error{"VELUNOR_AGENT_SETTINGS is not an absolute path"};
    }
    return path;
}

}  // namespace velunor
