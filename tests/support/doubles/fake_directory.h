#pragma once

#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "platform/directory_service.h"

namespace velunor::testing {

/// What a record answers for each of its attributes; the ones not listed are errors.
using RecordScript = std::map<std::string, DirectoryResult<DirectoryValues>, std::less<>>;

/// How one node behaves.
struct NodeScript {
    /// The accepted pairs of user name and password.
    std::vector<std::pair<std::string, std::string>> accepted;
    std::optional<PropertyListDictionary> details;
    DirectoryResult<std::vector<RecordScript>> users = std::vector<RecordScript>();
};

/// A directory that follows a script, so that each of its parts can be made to fail, and that
/// writes down what it is asked.
class FakeDirectory : public DirectoryService {
  public:
    [[nodiscard]] std::shared_ptr<DirectorySession> defaultSession() override;

    bool hasSession = true;
    /// The nodes that open by name.
    std::map<std::string, NodeScript> nodes;
    /// The local nodes; none when they do not open.
    std::optional<NodeScript> localNodes;

    /// Every request but passwords, in order.
    std::vector<std::string> calls;
    /// Every check of a password as "node user:password", in order.
    std::vector<std::string> checks;
    int sessionsAlive = 0;
    int nodesAlive = 0;
};

/// A search path as the details of the search node tell it.
[[nodiscard]] PropertyListDictionary searchPathDetails(const std::vector<std::string>& names);

/// The error that a scripted node gives when it does not open.
[[nodiscard]] DirectoryError noSuchNode();

/// The error that a scripted node gives for a wrong user or password.
[[nodiscard]] DirectoryError wrongCredentials();

/// The error that a scripted record gives for an attribute it lacks.
[[nodiscard]] DirectoryError noSuchAttribute();

}  // namespace velunor::testing
