#pragma once

#include <string_view>

#include "platform/directory_service.h"

namespace velunor {

/// An error of the network directory: what failed, the meaning of `code` (an LDAP result code), and
/// what the server or a library tells about it. One line; of a long detail only the beginning.
[[nodiscard]] DirectoryError ldapError(int code, std::string_view what,
                                       std::string_view detail = {});

/// The error of a server that no connection can be made to.
[[nodiscard]] DirectoryError serverUnreachable(std::string_view reason);

}  // namespace velunor
