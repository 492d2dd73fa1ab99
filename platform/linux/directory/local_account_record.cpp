#include "platform/linux/directory/local_account_record.h"

#include <cerrno>
#include <filesystem>
#include <system_error>
#include <utility>

#include "platform/file.h"
#include "platform/linux/session/bus_handles.h"

namespace velunor {

namespace {

constexpr const char* accountsName = "org.freedesktop.Accounts";

DirectoryResult<DirectoryValues> photoIn(const std::string& homeDirectory) {
    const std::string path = homeDirectory + "/.face";
    std::error_code error;
    if (std::filesystem::symlink_status(path, error).type() ==
        std::filesystem::file_type::not_found) {
        return DirectoryValues(std::vector<std::vector<std::byte>>());
    }
    auto content = readWholeFile(path);
    if (!content) {
        return DirectoryError{"File", 0, path + ": " + content.error().description};
    }
    std::vector<std::vector<std::byte>> photos;
    photos.push_back(*std::move(content));
    return DirectoryValues(std::move(photos));
}

/// What the bus or the service behind it has to say of a failed call.
DirectoryError accountsError(int result, const sd_bus_error& error) {
    const std::string message = error.message == nullptr ? std::generic_category().message(-result)
                                                         : std::string(error.message);
    return {"Accounts", -result, message};
}

DirectoryResult<DirectoryValues> pictureKeptFor(const std::string& userName) {
    const BusHandle bus = openBus(sd_bus_open_system);
    if (!bus) {
        return DirectoryError{"Accounts", ENOTCONN, "No system bus"};
    }
    sd_bus_error error{};
    const std::unique_ptr<sd_bus_error, void (*)(sd_bus_error*)> errorOwner(&error,
                                                                            sd_bus_error_free);
    sd_bus_message* reply = nullptr;
    const char* account = nullptr;
    int result =
        sd_bus_call_method(bus.get(), accountsName, "/org/freedesktop/Accounts", accountsName,
                           "FindUserByName", &error, &reply, "s", userName.c_str());
    const BusMessageHandle replyOwner(reply);
    if (result < 0 || (result = sd_bus_message_read(reply, "o", &account)) < 0) {
        return accountsError(result, error);
    }
    sd_bus_message* property = nullptr;
    const char* path = nullptr;
    result = sd_bus_get_property(bus.get(), accountsName, account, "org.freedesktop.Accounts.User",
                                 "IconFile", &error, &property, "s");
    const BusMessageHandle propertyOwner(property);
    if (result < 0 || (result = sd_bus_message_read(property, "s", &path)) < 0) {
        return accountsError(result, error);
    }
    std::vector<std::string> paths;
    if (*path != '\0') {
        paths.emplace_back(path);
    }
    return DirectoryValues(std::move(paths));
}

}  // namespace

LocalAccountRecord::LocalAccountRecord(LocalAccount account) : account_(std::move(account)) {}

DirectoryResult<DirectoryValues> LocalAccountRecord::valuesForAttribute(
    std::string_view attribute) const {
    if (attribute == attributeJPEGPhoto) {
        return photoIn(account_.homeDirectory);
    }
    if (attribute == attributePicture) {
        return pictureKeptFor(account_.name);
    }
    return DirectoryError{"Directory", ENODATA, "No attribute " + std::string(attribute)};
}

}  // namespace velunor
