#include "credentials/os_update_util.h"

#include <array>
#include <utility>
#include <variant>

#include "platform/text.h"

namespace velunor::OSUpdateUtil {
namespace {

constexpr std::string_view localNodeName = "/Local/Default";

/// The first of the values, or null when they are of the other type or none.
template <class Value>
const Value* firstOf(const DirectoryValues& values) {
    const auto* list = std::get_if<std::vector<Value>>(&values);
    return list == nullptr || list->empty() ? nullptr : &list->front();
}

DirectoryResult<ImagePointer> pictureOf(const DirectoryRecord& record, const ImageReader& images) {
    const auto photo = record.valuesForAttribute(attributeJPEGPhoto);
    if (!photo) {
        return photo.error();
    }
    if (const auto* data = firstOf<std::vector<std::byte>>(*photo)) {
        return images.imageFromData(*data);
    }
    const auto picture = record.valuesForAttribute(attributePicture);
    if (!picture) {
        return picture.error();
    }
    const auto* path = firstOf<std::string>(*picture);
    return path == nullptr ? ImagePointer() : images.imageFromFile(*path);
}

DirectoryResult<ImagePointer> findPicture(const std::string& user, DirectoryService& directory,
                                          const ImageReader& images) {
    const auto session = directory.defaultSession();
    if (!session) {
        return DirectoryError{"Directory", 0, "No directory session"};
    }
    const auto node = session->openNode(DirectoryNodeType::localNodes);
    if (!node) {
        return node.error();
    }
    const auto found = (*node)->usersNamed(user, 1);
    if (!found) {
        return found.error();
    }
    const auto& records = *found;
    return records.empty() ? ImagePointer() : pictureOf(*records.front(), images);
}

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

std::optional<std::string> getUserName(ConsoleUsers& consoleUsers, SystemLog& log) {
    const auto identifier = consoleUsers.consoleUserIdentifier();
    if (!identifier) {
        log.write("No Console User at the moment");
        return std::nullopt;
    }
    auto entry = consoleUsers.passwordEntry(*identifier);
    if (!entry) {
        log.write("Dint get Pw for " + std::to_string(*identifier));
        return std::nullopt;
    }
    if (!entry->name) {
        log.write("UID " + std::to_string(*identifier));
    }
    return std::move(entry->name);
}

ImagePointer getUserPicture(const std::string& forUser, DirectoryService& directory,
                            const ImageReader& images, SystemLog& log) {
    auto picture = findPicture(forUser, directory, images);
    if (!picture) {
        log.write("Error: " + picture.error().description());
        return nullptr;
    }
    return *std::move(picture);
}

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
