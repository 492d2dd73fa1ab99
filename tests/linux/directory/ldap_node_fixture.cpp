#include "tests/linux/directory/ldap_node_fixture.h"

#include <utility>

namespace velunor::testing {

LdapNodeSettings LdapNode::nodeAt(const LdapServer& server, const std::string& uri) {
    LdapNodeSettings settings;
    settings.uri = uri;
    settings.userBase = LdapServer::accounts();
    settings.certificateAuthorities = server.authorities();
    settings.timeout = timeLimit;
    return settings;
}

std::string LdapNode::answer(const LdapNodeSettings& settings, const std::string& user,
                             std::string_view password) {
    auto node = openLdapNode(settings);
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

std::string LdapNode::opening(const LdapNodeSettings& settings) {
    const auto node = openLdapNode(settings);
    return node ? "opened" : node.error().description();
}

DirectoryNodePointer LdapNode::opened(const LdapNodeSettings& settings) {
    auto node = openLdapNode(settings);
    if (!node) {
        ADD_FAILURE() << node.error().description();
        return nullptr;
    }
    return *std::move(node);
}

}  // namespace velunor::testing
