#pragma once

#include <optional>
#include <string>

#include "platform/directory_service.h"
#include "platform/linux/directory/directory_settings.h"
#include "platform/secret.h"

namespace velunor {

/// Asks PAM about a local account's password, through the credential checker; none when it accepts.
/// No answer, an unclear one or none in time is an error. Blocks, at most the time limit of the
/// settings; any thread.
[[nodiscard]] std::optional<DirectoryError> checkLocalPassword(
    const CredentialCheckerSettings& settings, const std::string& userName, const Secret& password);

}  // namespace velunor
