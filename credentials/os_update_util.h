#pragma once

#include <optional>
#include <string>

#include "platform/directory_service.h"
#include "platform/graphics.h"
#include "platform/secret.h"
#include "platform/system.h"

namespace velunor::OSUpdateUtil {

/// Account name of the console user, or none. Main thread.
[[nodiscard]] std::optional<std::string> getUserName(ConsoleUsers& consoleUsers, SystemLog& log);

/// The account's picture, or null. Blocks while the directory answers; any thread.
[[nodiscard]] ImagePointer getUserPicture(const std::string& forUser, DirectoryService& directory,
                                          const ImageReader& images, SystemLog& log);

/// Whether the node accepts the password for the user. Blocks while the directory answers; any
/// thread.
[[nodiscard]] bool validatePasswordForDomain(const std::string& nodeName,
                                             const std::string& userName, const Secret& password,
                                             DirectoryService& directory, SystemLog& log);

/// Whether any node of the search path but "/Local/Default" accepts the password for the user; the
/// first that does ends the walk. Blocks while the directory answers; any thread.
[[nodiscard]] bool validatePasswordForAllDomain(const std::string& userName, const Secret& password,
                                                DirectoryService& directory, SystemLog& log);

}  // namespace velunor::OSUpdateUtil
