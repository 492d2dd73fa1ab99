#include "tests/linux/directory/ldap_node_fixture.h"

#include <utility>

namespace velunor::testing {

DirectoryNodeSettings LdapNode::nodeAt(const LdapServer& server, const std::string& uri) {
    DirectoryNodeSettings settings;
    settings.uri = uri;
    settings.userBase = LdapServer::accounts();
    settings.certificateAuthorities = server.authorities();
    settings.timeout = timeLimit;
    return settings;
}

std::string LdapNode::answer(const DirectoryNodeSettings& settings, const std::string& user,
                             std::string_view password) {
    auto node = openNetworkNode(CHECKPASS_PROGRAM, settings);
    if (!node) {
        return node.error().description();
    }
    return answer(**node, user, password);
}

std::string LdapNode::answer(DirectoryNode& node, const std::string& user,
                             std::string_view password) {
    const auto error = node.setCredentials(user, Secret(password));
    return error ? error->description() : "accepted";
}

std::string LdapNode::opening(const DirectoryNodeSettings& settings) {
    const auto node = openNetworkNode(CHECKPASS_PROGRAM, settings);
    return node ? "opened" : node.error().description();
}

DirectoryNodePointer LdapNode::opened(const DirectoryNodeSettings& settings) {
    auto node = openNetworkNode(CHECKPASS_PROGRAM, settings);
    if (!node) {
        ADD_FAILURE() << node.error().description();
        return nullptr;
    }
    return *std::move(node);
}

}  // namespace velunor::testing
