#include <variant>

#include "credentials/os_update_util.h"

namespace velunor::OSUpdateUtil {
namespace {

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

}  // namespace velunor::OSUpdateUtil
