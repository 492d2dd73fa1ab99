// Tells whether a password is that of a local account, as PAM sees it: one request on the standard
// input, one line on the standard output. Started by systemd with a connection of the service's
// socket it answers what root may ask; started by a user it has that user's rights and no more.

#include <fcntl.h>
#include <security/pam_appl.h>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <syslog.h>
#include <unistd.h>

#include <chrono>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <optional>
#include <string>
#include <utility>

#include "platform/linux/directory/credential_checker_protocol.h"
#include "platform/posix/file_descriptor.h"
#include "tools/osupdate_checkpass/caller.h"
#include "tools/osupdate_checkpass/guarded_check.h"
#include "tools/osupdate_checkpass/pam_check.h"
#include "tools/osupdate_checkpass/request.h"

namespace velunor {
namespace {

enum ExitStatus { acceptedStatus = 0, refusedStatus = 1, wrongUsage = 2 };

/// Shorter than the limit of whoever waits for the answer.
constexpr std::chrono::seconds timeLimit{8};

/// The request's stream and the answer's, out of the reach of PAM's modules.
struct Streams {
    FileDescriptor input;
    FileDescriptor answer;
};

/// Takes the standard streams away: whatever a module reads or prints is nothing of ours.
Streams takeStandardStreams() {
    closefrom(STDERR_FILENO + 1);
    Streams streams{FileDescriptor(fcntl(STDIN_FILENO, F_DUPFD_CLOEXEC, STDERR_FILENO + 1)),
                    FileDescriptor(fcntl(STDOUT_FILENO, F_DUPFD_CLOEXEC, STDERR_FILENO + 1))};
    // Where one of the three was closed this takes its number, which is as well.
    const int opened = open("/dev/null", O_RDWR);
    const FileDescriptor nothing(fcntl(opened, F_DUPFD_CLOEXEC, STDERR_FILENO + 1));
    if (opened > STDERR_FILENO) {
        close(opened);
    }
    for (const int standard : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO}) {
        if (dup2(nothing.get(), standard) < 0) {
            std::abort();
        }
    }
    return streams;
}

/// Nothing of the caller's surroundings reaches PAM's modules, and no password a core dump.
void closeOff() {
    const rlimit nothing{0, 0};
    if (prctl(PR_SET_DUMPABLE, 0) != 0 || setrlimit(RLIMIT_CORE, &nothing) != 0 ||
        clearenv() != 0 || setenv("PATH", "/usr/sbin:/usr/bin:/sbin:/bin", 1) != 0) {
        std::abort();
    }
    umask(S_IRWXG | S_IRWXO);
    for (int number = 1; number <= SIGRTMAX; ++number) {
        static_cast<void>(std::signal(number, SIG_DFL));
    }
    // Who has gone costs an error of the write, not the line in the log.
    static_cast<void>(std::signal(SIGPIPE, SIG_IGN));
    sigset_t none;
    sigemptyset(&none);
    sigprocmask(SIG_SETMASK, &none, nullptr);
}

int verdictFor(Streams& streams) {
    const auto deadline = std::chrono::steady_clock::now() + timeLimit;
    auto request = readRequest(streams.input.get(), deadline);
    if (!request) {
        return PAM_CONV_ERR;
    }
    return guardedCheck(
        [&] {
            streams = Streams();
            const int code = askPam(*request);
            request.reset();
            return code;
        },
        deadline);
}

/// Whether the whole answer could be written.
bool answer(int stream, int code) {
    const std::string line(code == PAM_SUCCESS ? std::string(password_helper_protocol::accepted)
                                               : std::string(password_helper_protocol::refused) +
                                                     std::to_string(code) + " " +
                                                     pam_strerror(nullptr, code) + "\n");
    return ::write(stream, line.data(), line.size()) == static_cast<ssize_t>(line.size());
}

void logVerdict(uid_t caller, int code) {
    // Without the user name: people type passwords there.
    openlog("osupdate-checkpass", LOG_PID, LOG_AUTHPRIV);
    syslog(code == PAM_SUCCESS ? LOG_INFO : LOG_NOTICE, "password check for uid %lu: %s (%d)",
           static_cast<unsigned long>(caller), code == PAM_SUCCESS ? "accepted" : "refused", code);
}

int serve(Streams& streams) {
    if (hasForeignRights()) {
        return PAM_PERM_DENIED;
    }
    if (!isSocket(streams.input.get())) {
        return verdictFor(streams);
    }
    const auto caller = callerOf(streams.input.get());
    if (!caller) {
        return PAM_PERM_DENIED;
    }
    const int code = caller->allowed ? verdictFor(streams) : PAM_PERM_DENIED;
    logVerdict(caller->user, code);
    return code;
}

}  // namespace
}  // namespace velunor

int main(int argc, char**) {
    if (argc != 1) {
        static_cast<void>(std::fputs("Usage: osupdate-checkpass < REQUEST\n", stderr));
        return velunor::wrongUsage;
    }
    velunor::Streams streams = velunor::takeStandardStreams();
    velunor::closeOff();
    const int code = velunor::serve(streams);
    // An answer that does not arrive is none, and that is a refusal.
    const bool told = velunor::answer(streams.answer.get(), code);
    // Nothing that the libraries would still do at the end is needed.
    std::_Exit(told && code == PAM_SUCCESS ? velunor::acceptedStatus : velunor::refusedStatus);
}
