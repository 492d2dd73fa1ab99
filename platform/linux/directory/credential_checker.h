#pragma once

#include <sys/types.h>

#include <chrono>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <string_view>

#include "platform/directory_service.h"
#include "platform/linux/directory/directory_settings.h"
#include "platform/posix/file_descriptor.h"
#include "platform/secret.h"

namespace velunor {

// The ways to the credential checker, and what its answers mean. All of this may be used on any
// thread.

/// Asks PAM about a local account's password; none when it accepts. No answer, an unclear one or
/// none in time is an error. Blocks, at most the time limit of the settings.
[[nodiscard]] std::optional<DirectoryError> checkLocalPassword(
    const CredentialCheckerSettings& settings, const std::string& userName, const Secret& password);

using SteadyDeadline = std::chrono::steady_clock::time_point;

/// The error of a way to the checker: `error` is errno's number, `operation` what failed.
[[nodiscard]] DirectoryError checkerError(int error, const std::string& operation);

/// The request about a name and a password. Neither may hold a NUL.
[[nodiscard]] Secret credentialRequest(std::string_view userName, const Secret& password);

/// What is read of an answer.
enum class AnswerPart { firstLine, whole };

/// Reads that part of an answer, no later than the deadline. More than the protocol's longest line
/// is an error, and so is nothing, with ENODATA.
[[nodiscard]] DirectoryResult<std::string> readCheckerAnswer(int stream, AnswerPart part,
                                                             SteadyDeadline deadline);

/// Whom the checker asks; the domain of its errors.
enum class Backend { pam, ldap };

/// None when the answer is the line `success`, else why it is not.
[[nodiscard]] std::optional<DirectoryError> verdictIn(const DirectoryResult<std::string>& answer,
                                                      std::string_view success, Backend backend);

/// The checker as a child, with an environment of its own. At the latest at the end of this
/// object's life it is killed with its process group, and reaped if that takes no more than a
/// moment. One thread at a time.
class CheckerProcess {
  public:
    /// Starts it; an error also for a program that others than root and the caller's own user may
    /// change.
    [[nodiscard]] static DirectoryResult<std::unique_ptr<CheckerProcess>> start(
        const std::string& program, std::span<const std::string> arguments);

    CheckerProcess(const CheckerProcess&) = delete;
    CheckerProcess& operator=(const CheckerProcess&) = delete;
    ~CheckerProcess();

    /// The first line that it says, no later than the deadline.
    [[nodiscard]] DirectoryResult<std::string> readLine(SteadyDeadline deadline) const;

    /// Sends the request, to be done once, and gives the rest of what it says. Accepting a password
    /// and ending with another status than 0 is an error.
    [[nodiscard]] DirectoryResult<std::string> ask(const Secret& request, SteadyDeadline deadline);

  private:
    CheckerProcess() = default;

    /// 0 when it has ended well, else errno's number.
    [[nodiscard]] int waitForSuccess(SteadyDeadline deadline) const;

    pid_t process_ = 0;
    /// Readable once it has ended.
    FileDescriptor ended_{};
    FileDescriptor question_{};
    /// The other end of `question_` is kept, so that a write never meets a broken pipe, whose
    /// signal would end this process.
    FileDescriptor questionReader_{};
    FileDescriptor answer_{};
};

}  // namespace velunor
