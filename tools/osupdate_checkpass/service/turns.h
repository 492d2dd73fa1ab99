#pragma once

#include <sys/types.h>

#include <string>

#include "platform/posix/file_descriptor.h"

namespace velunor {

/// In which order the processes of the system service, one for each connection, ask PAM. They know
/// of each other by locks on parts of one file, which the kernel gives back however one ends.
class Turns {
  public:
    /// For a process that this user asks. Opens the file, which is made where it is missing and
    /// belongs to the service alone.
    explicit Turns(uid_t caller);

    /// Whether there is the file; errno has the reason.
    [[nodiscard]] bool isOpen() const { return file_.isOpen(); }

    /// Waits until no other process checks a password for the caller, nor that of this account,
    /// and keeps both to itself from then on. So guesses made at once are counted one after the
    /// other, and a caller's many are no more in another one's way than one is. False when the
    /// locks cannot be had at all. Asks the password database.
    [[nodiscard]] bool wait(const std::string& account) const;

  private:
    uid_t caller_;
    FileDescriptor file_;
};

}  // namespace velunor
