#include "tests/linux/ldap_node_fixture.h"

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
    if (const auto* error = std::get_if<DirectoryError>(&node)) {
        return error->description();
    }
    return answer(*std::get<DirectoryNodePointer>(node), user, password);
}

std::string LdapNode::answer(DirectoryNode& node, const std::string& user,
                             std::string_view password) {
    const auto error = node.setCredentials(user, Secret(password));
    return error ? error->description() : "accepted";
}

std::string LdapNode::opening(const LdapNodeSettings& settings) {
    const auto node = openLdapNode(settings);
    const auto* error = std::get_if<DirectoryError>(&node);
    return error == nullptr ? "opened" : error->description();
}

DirectoryNodePointer LdapNode::opened(const LdapNodeSettings& settings) {
    auto node = openLdapNode(settings);
    if (const auto* error = std::get_if<DirectoryError>(&node)) {
        ADD_FAILURE() << error->description();
        return nullptr;
    }
    return std::get<DirectoryNodePointer>(std::move(node));
}

}  // namespace velunor::testing
