#include <cerrno>
#include <filesystem>
#include <system_error>
#include <utility>

#include "platform/file.h"
#include "platform/linux/directory/credential_checker.h"
#include "platform/linux/directory/directory_service.h"
#include "platform/linux/session/bus_handles.h"
#include "platform/posix/password_database.h"

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

class LocalAccountRecord final : public DirectoryRecord {
  public:
    explicit LocalAccountRecord(LocalAccount account) : account_(std::move(account)) {}

    [[nodiscard]] DirectoryResult<DirectoryValues> valuesForAttribute(
        std::string_view attribute) const override {
        if (attribute == attributeJPEGPhoto) {
            return photoIn(account_.homeDirectory);
        }
        if (attribute == attributePicture) {
            return pictureKeptFor(account_.name);
        }
        return DirectoryError{"Directory", ENODATA, "No attribute " + std::string(attribute)};
    }

  private:
    LocalAccount account_;
};

class LocalNode final : public DirectoryNode {
  public:
    explicit LocalNode(CredentialCheckerSettings checker) : checker_(std::move(checker)) {}

    std::optional<DirectoryError> setCredentials(const std::string& recordName,
                                                 const Secret& password) override {
        return checkLocalPassword(checker_, recordName, password);
    }

    DirectoryResult<DirectoryRecords> usersNamed(const std::string& recordName,
                                                 std::size_t maximumResults) override {
        LocalAccountResult found = localAccountNamed(recordName);
        if (found.error != 0) {
            return DirectoryError{"Password database", found.error,
                                  std::generic_category().message(found.error)};
        }
        DirectoryRecords records;
        if (found.account && maximumResults > 0) {
            records.push_back(std::make_unique<LocalAccountRecord>(std::move(*found.account)));
        }
        return records;
    }

  private:
    CredentialCheckerSettings checker_;
};

}  // namespace

DirectoryNodePointer openLocalNode(const CredentialCheckerSettings& checker) {
    return std::make_unique<LocalNode>(checker);
}

}  // namespace velunor
