#pragma once

#include <cstddef>
#include <string>
#include <vector>

#include "platform/expected.h"

namespace velunor {

/// The largest file that `readWholeFile` takes: 16 MiB.
inline constexpr std::size_t largestReadableFile = std::size_t{16} * 1024 * 1024;

/// Whether something exists at `path`, symbolic links followed. Any thread.
[[nodiscard]] bool fileExists(const std::string& path);

/// The bytes of the regular file at `path`. A directory, a pipe or device, a file over
/// `largestReadableFile` or one that may not be read gives an error. Any thread.
[[nodiscard]] Expected<std::vector<std::byte>> readWholeFile(const std::string& path);

}  // namespace velunor
