#include "tests/support/doubles/fake_directory.h"

#include <algorithm>
#include <utility>

namespace velunor::testing {

namespace {

/// Counts the objects of a kind that are alive.
class Count {
  public:
    explicit Count(int& count) : count_(count) { ++count_; }
    Count(const Count&) = delete;
    Count& operator=(const Count&) = delete;
    ~Count() { --count_; }

  private:
    int& count_;
};

class ScriptedRecord : public DirectoryRecord {
  public:
    ScriptedRecord(std::vector<std::string>& calls, RecordScript script)
        : calls_(calls), script_(std::move(script)) {}

    [[nodiscard]] DirectoryResult<DirectoryValues> valuesForAttribute(
        std::string_view attribute) const override {
        calls_.push_back("values " + std::string(attribute));
        const auto found = script_.find(attribute);
        return found == script_.end() ? noSuchAttribute() : found->second;
    }

  private:
    std::vector<std::string>& calls_;
    RecordScript script_;
};

class ScriptedNode : public DirectoryNode {
  public:
    ScriptedNode(FakeDirectory& directory, std::string name, NodeScript script)
        : alive_(directory.nodesAlive),
          directory_(directory),
          name_(std::move(name)),
          script_(std::move(script)) {}

    [[nodiscard]] std::optional<DirectoryError> setCredentials(const std::string& recordName,
                                                               const Secret& password) override {
        directory_.calls.push_back("credentials " + name_ + " " + recordName);
        directory_.checks.push_back(name_ + " " + recordName + ":" +
                                    std::string(password.reveal()));
        const std::pair<std::string, std::string> pair(recordName, password.reveal());
        const bool accepted = std::ranges::find(script_.accepted, pair) != script_.accepted.end();
        return accepted ? std::nullopt : std::optional(wrongCredentials());
    }

    [[nodiscard]] std::optional<PropertyListDictionary> nodeDetails(
        std::span<const std::string_view> keys) override {
        std::string call = "details " + name_;
        for (const std::string_view key : keys) {
            call += " " + std::string(key);
        }
        directory_.calls.push_back(call);
        return script_.details;
    }

    [[nodiscard]] DirectoryResult<DirectoryRecords> usersNamed(
        const std::string& recordName, std::size_t maximumResults) override {
        directory_.calls.push_back("users " + name_ + " " + recordName + " " +
                                   std::to_string(maximumResults));
        if (!script_.users) {
            return script_.users.error();
        }
        DirectoryRecords records;
        for (const RecordScript& script : *script_.users) {
            records.push_back(std::make_unique<ScriptedRecord>(directory_.calls, script));
        }
        return records;
    }

  private:
    Count alive_;
    FakeDirectory& directory_;
    std::string name_;
    NodeScript script_;
};

class ScriptedSession : public DirectorySession {
  public:
    explicit ScriptedSession(FakeDirectory& directory)
        : alive_(directory.sessionsAlive), directory_(directory) {}

    [[nodiscard]] DirectoryResult<DirectoryNodePointer> openNode(const std::string& name) override {
        directory_.calls.push_back("open " + name);
        const auto found = directory_.nodes.find(name);
        if (found == directory_.nodes.end()) {
            return noSuchNode();
        }
        return std::make_unique<ScriptedNode>(directory_, name, found->second);
    }

    [[nodiscard]] DirectoryResult<DirectoryNodePointer> openNode(DirectoryNodeType type) override {
        directory_.calls.push_back("open type " + std::to_string(static_cast<unsigned>(type)));
        if (!directory_.localNodes) {
            return noSuchNode();
        }
        return std::make_unique<ScriptedNode>(directory_, "local", *directory_.localNodes);
    }

  private:
    Count alive_;
    FakeDirectory& directory_;
};

}  // namespace

std::shared_ptr<DirectorySession> FakeDirectory::defaultSession() {
    calls.emplace_back("session");
    return hasSession ? std::make_shared<ScriptedSession>(*this) : nullptr;
}

PropertyListDictionary searchPathDetails(const std::vector<std::string>& names) {
    PropertyListArray list;
    for (const std::string& name : names) {
        list.push_back({name});
    }
    return {{std::string(attributeSearchPath), {list}}};
}

DirectoryError noSuchNode() {
    return {"test.directory", 2000, "No such node"};
}

DirectoryError wrongCredentials() {
    return {"test.directory", 5000, "Wrong user or password"};
}

DirectoryError noSuchAttribute() {
    return {"test.directory", 1000, "No such attribute"};
}

}  // namespace velunor::testing
