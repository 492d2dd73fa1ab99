#include "tools/osupdate_checkpass/pam/guarded_check.h"

#include <fcntl.h>
#include <security/pam_appl.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <csignal>
#include <cstdlib>

#include "platform/posix/file_descriptor.h"

namespace velunor {
namespace {

/// Ends a process and its group when it goes out of scope, so that nothing which a module started
/// is left over.
class GuardedProcess {
  public:
    explicit GuardedProcess(pid_t process) : process_(process) {}
    GuardedProcess(const GuardedProcess&) = delete;
    GuardedProcess& operator=(const GuardedProcess&) = delete;
    ~GuardedProcess() {
        kill(-process_, SIGKILL);
        // It may not have come so far as to have a group.
        kill(process_, SIGKILL);
        while (waitpid(process_, nullptr, 0) < 0 && errno == EINTR) {
        }
    }

  private:
    pid_t process_;
};

[[noreturn]] void runCheck(const std::function<int()>& check, int verdict, pid_t parent) {
    // Without a terminal no module can turn to the person behind the program's back.
    setsid();
    prctl(PR_SET_PDEATHSIG, SIGKILL);
    if (getppid() != parent) {
        _exit(EXIT_FAILURE);
    }
    const int code = check();
    _exit(::write(verdict, &code, sizeof code) == sizeof code ? EXIT_SUCCESS : EXIT_FAILURE);
}

}  // namespace

int guardedCheck(const std::function<int()>& check,
                 std::chrono::steady_clock::time_point deadline) {
    std::array<int, 2> ends{};
    if (pipe2(ends.data(), O_CLOEXEC) != 0) {
        return PAM_SYSTEM_ERR;
    }
    FileDescriptor reader(ends[0]);
    FileDescriptor writer(ends[1]);
    const pid_t parent = getpid();
    const pid_t child = fork();
    if (child < 0) {
        return PAM_SYSTEM_ERR;
    }
    if (child == 0) {
        reader = FileDescriptor();
        runCheck(check, writer.get(), parent);
    }
    const GuardedProcess guarded(child);
    writer = FileDescriptor();
    int code = PAM_ABORT;
    if (pollUntil(reader.get(), POLLIN, deadline) != 0 ||
        read(reader.get(), &code, sizeof code) != sizeof code) {
        return PAM_ABORT;
    }
    return code;
}

}  // namespace velunor
