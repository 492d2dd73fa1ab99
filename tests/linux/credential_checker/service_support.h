#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

#include "platform/linux/directory/directory_settings.h"
#include "platform/posix/file_descriptor.h"

namespace velunor::testing {

/// The user who asks, on machines with one user.
inline constexpr unsigned caller = 4003;

/// What the login manager says about a user who sits at the machine.
inline constexpr const char* activeUser =
    "NAME=alice\nSTATE=active\nSESSIONS=c1\nACTIVE_SESSIONS=c1\n";

/// A value of the units' that this tree ships, as a number of its unit; -1 when it is not there.
long unitValue(const std::string& file, const std::string& key);

/// The system service as the service manager runs it, which ends with this object. The machine's
/// /run must be writable.
class CheckerServiceRunner {
  public:
    explicit CheckerServiceRunner(const std::string& program = CHECKPASS_PROGRAM);
    CheckerServiceRunner(const CheckerServiceRunner&) = delete;
    CheckerServiceRunner& operator=(const CheckerServiceRunner&) = delete;
    ~CheckerServiceRunner();

    /// Runs `body` while the service's receiving process stands still.
    void whileStopped(const std::function<void()>& body) const;
    /// The processes that it has started and that are still there: the name of each and, behind a
    /// blank, what it was called as.
    [[nodiscard]] std::vector<std::string> processes() const;
    /// Its exit status once it ends by itself; -1 where it is killed.
    int waitForEnd();

    /// Settings of a client that asks it.
    [[nodiscard]] static CredentialCheckerSettings settings();
    /// A new connection to it.
    [[nodiscard]] static FileDescriptor connection();
    /// One with a whole request about alice's password, the right one.
    [[nodiscard]] static FileDescriptor request();

  private:
    pid_t process_;
};

/// Runs `body` as `user` on a machine of its own, with this PAM stack, where the login manager says
/// this about the user `caller`, and gives what it answers.
std::string onServiceMachine(const std::string& stack, const std::function<std::string()>& body,
                             unsigned user = caller, const std::string& state = activeUser);

/// A PAM stack in which pam_faillock locks an account after three wrong passwords, and in which the
/// password module takes its time and counts.
std::string faillockStack();

/// So many clients ask the service about a wrong password of alice's, all at once.
void guessAtOnce(std::size_t count);

/// How many passwords that module has judged.
std::uintmax_t judgedGuesses();

}  // namespace velunor::testing
