// A directory with a fault that a Linux machine does not produce on demand, in the place of the
// real one: the prompt is otherwise the whole program. VELUNOR_TEST_DIRECTORY_FAULT names the
// fault.

#include <cstdlib>
#include <string>
#include <string_view>

#include "platform/linux/directory/directory_service.h"

namespace velunor {
namespace {

std::string_view fault() {
    const char* name = std::getenv("VELUNOR_TEST_DIRECTORY_FAULT");
    return name == nullptr ? "" : name;
}

DirectoryError unavailable() {
    return {"Test", 7, "The directory has a fault"};
}

class FaultySearchNode : public DirectoryNode {
  public:
    std::optional<DirectoryError> setCredentials(const std::string& /*recordName*/,
                                                 const Secret& /*password*/) override {
        return unavailable();
    }
    std::optional<PropertyListDictionary> nodeDetails(
        std::span<const std::string_view> /*keys*/) override {
        PropertyListDictionary details;
        if (fault() == "no-details") {
            return std::nullopt;
        }
        if (fault() == "search-path-is-a-text") {
            details.emplace(attributeSearchPath, PropertyListValue{std::string("/Local/Default")});
        } else if (fault() == "search-path-holds-a-number") {
            details.emplace(attributeSearchPath,
                            PropertyListValue{PropertyListArray{{std::string("/Local/Default")},
                                                                {std::int64_t{1}}}});
        }
        return details;
    }
    DirectoryResult<DirectoryRecords> usersNamed(const std::string& /*recordName*/,
                                                 std::size_t /*maximumResults*/) override {
        return unavailable();
    }
};

class FaultySession : public DirectorySession {
  public:
    DirectoryResult<DirectoryNodePointer> openNode(const std::string& name) override {
        if (name != "/Search" || fault() == "no-search-node") {
            return unavailable();
        }
        return std::make_unique<FaultySearchNode>();
    }
    DirectoryResult<DirectoryNodePointer> openNode(DirectoryNodeType /*type*/) override {
        return unavailable();
    }
};

}  // namespace

// NOLINTNEXTLINE(performance-unnecessary-value-param): the real one keeps what it is given.
LinuxDirectoryService::LinuxDirectoryService(LinuxDirectorySettings /*settings*/)
    : session_(fault() == "no-session" ? nullptr : std::make_shared<FaultySession>()) {}

}  // namespace velunor
