#pragma once

#include <sys/types.h>

#include <filesystem>
#include <string>

namespace velunor::testing {

/// `text` with every `from` replaced by `to`.
[[nodiscard]] std::string replaced(std::string text, const std::string& from,
                                   const std::string& to);

/// The lines of a prompt's system log with what differs from run to run replaced: time stamps, the
/// process number, the test's directory.
[[nodiscard]] std::string normalizedTranscript(const std::string& log,
                                               const std::filesystem::path& directory,
                                               pid_t process);

/// The approved transcript of this name; empty when there is none. `directory` is where they are
/// for the account that the test acts as.
[[nodiscard]] std::string goldenTranscript(
    const std::string& name, const std::filesystem::path& directory = GOLDEN_DIRECTORY);

}  // namespace velunor::testing
