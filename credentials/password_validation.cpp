#include <array>

#include "credentials/os_update_util.h"
#include "platform/text.h"

namespace velunor::OSUpdateUtil {
namespace {

constexpr std::string_view localNodeName = "/Local/Default";

/// The search node's own details; none when the node does not open or does not tell.
std::optional<PropertyListDictionary> searchNodeDetails(DirectorySession& session) {
    const auto node = session.openNode("/Search");
    constexpr std::array keys{attributeSearchPath};
    return node ? (*node)->nodeDetails(keys) : std::nullopt;
}

/// The search path; none when it is missing or not a list of texts.
std::optional<std::vector<std::string>> searchPath(const PropertyListDictionary& details) {
    const auto member = details.find(attributeSearchPath);
    const auto* list =
        member == details.end() ? nullptr : std::get_if<PropertyListArray>(&member->second.value);
    if (list == nullptr) {
        return std::nullopt;
    }
    std::vector<std::string> names;
    for (const PropertyListValue& element : *list) {
        if (element.text() == nullptr) {
            return std::nullopt;
        }
        names.push_back(*element.text());
    }
    return names;
}

}  // namespace

bool validatePasswordForDomain(const std::string& nodeName, const std::string& userName,
                               const Secret& password, DirectoryService& directory,
                               SystemLog& log) {
    log.write("Validating " + nodeName + " Username " + userName);
    const auto session = directory.defaultSession();
    if (!session) {
        log.write("Couln't Get Default Sessions");
        return false;
    }
    const auto node = session->openNode(nodeName);
    if (!node) {
        log.write("Node Error " + node.error().description());
        return false;
    }
    const auto error = (*node)->setCredentials(userName, password);
    log.write(error ? "Credentails Error " + error->description()
                    : "Password validated Successfully");
    return !error;
}

bool validatePasswordForAllDomain(const std::string& userName, const Secret& password,
                                  DirectoryService& directory, SystemLog& log) {
    const auto session = directory.defaultSession();
    if (!session) {
        log.write("Couln't Get Default Session");
        return false;
    }
    const auto details = searchNodeDetails(*session);
    if (!details) {
        log.write("ODNode Node Creatation Failed For Search");
        return false;
    }
    const auto names = searchPath(*details);
    if (!names) {
        log.write("Node Details Cannnot Converted to ArOfStr");
        return false;
    }
    log.write("Node Details " + listDescription(*names));
    for (const std::string& name : *names) {
        if (name != localNodeName &&
            validatePasswordForDomain(name, userName, password, directory, log)) {
            return true;
        }
    }
    return false;
}

}  // namespace velunor::OSUpdateUtil
