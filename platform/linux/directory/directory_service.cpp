#include "platform/linux/directory/directory_service.h"

#include <algorithm>
#include <cerrno>
#include <utility>

namespace velunor {
namespace {

/// The node that knows which nodes are to be asked, and has no accounts of its own.
class SearchNode final : public DirectoryNode {
  public:
    explicit SearchNode(std::vector<std::string> names) : names_(std::move(names)) {}

    std::optional<DirectoryError> setCredentials(const std::string& /*recordName*/,
                                                 const Secret& /*password*/) override {
        return noAccounts();
    }

    std::optional<PropertyListDictionary> nodeDetails(
        std::span<const std::string_view> keys) override {
        PropertyListDictionary details;
        if (std::find(keys.begin(), keys.end(), attributeSearchPath) != keys.end()) {
            PropertyListArray names;
            for (const std::string& name : names_) {
                names.push_back({name});
            }
            details.emplace(attributeSearchPath, PropertyListValue{std::move(names)});
        }
        return details;
    }

    DirectoryResult<DirectoryRecords> usersNamed(const std::string& /*recordName*/,
                                                 std::size_t /*maximumResults*/) override {
        return noAccounts();
    }

  private:
    static DirectoryError noAccounts() {
        return {"Directory", ENOTSUP, "The search node has no accounts of its own"};
    }

    std::vector<std::string> names_;
};

class LinuxDirectorySession final : public DirectorySession {
  public:
    explicit LinuxDirectorySession(LinuxDirectorySettings settings)
        : settings_(std::move(settings)) {}

    DirectoryResult<DirectoryNodePointer> openNode(const std::string& name) override {
        if (name == "/Local/Default") {
            return openNode(DirectoryNodeType::localNodes);
        }
        if (name == "/Search") {
            return std::make_unique<SearchNode>(settings_.searchPath);
        }
        const auto node = settings_.nodes.find(name);
        if (node == settings_.nodes.end()) {
            return DirectoryError{"Directory", ENOENT, "No node of this name"};
        }
        return openNetworkNode(settings_.checker.program, node->second);
    }

    DirectoryResult<DirectoryNodePointer> openNode(DirectoryNodeType /*type*/) override {
        return openLocalNode(settings_.checker);
    }

  private:
    LinuxDirectorySettings settings_;
};

}  // namespace

LinuxDirectoryService::LinuxDirectoryService(LinuxDirectorySettings settings)
    : session_(std::make_shared<LinuxDirectorySession>(std::move(settings))) {}

}  // namespace velunor
