#include "tools/osupdate_checkpass/checker.h"

#include <fcntl.h>
#include <ldap.h>
#include <security/pam_appl.h>
#include <sys/auxv.h>
#include <sys/mman.h>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <systemd/sd-daemon.h>
#include <unistd.h>

#include <charconv>
#include <chrono>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <optional>
#include <string>
#include <string_view>
#include <utility>

#include "platform/posix/file_descriptor.h"
#include "platform/posix/process.h"
#include "tools/osupdate_checkpass/ldap/ldap_check.h"
#include "tools/osupdate_checkpass/pam/pam_check.h"
#include "tools/osupdate_checkpass/protocol/messages.h"
#include "tools/osupdate_checkpass/service/caller.h"
#include "tools/osupdate_checkpass/service/receiver.h"
#include "tools/osupdate_checkpass/service/turns.h"

namespace velunor {
namespace {

namespace protocol = credential_checker_protocol;

enum ExitStatus { acceptedStatus = 0, refusedStatus = 1, wrongUsage = 2 };

/// The request's stream and the answer's, out of the reach of PAM's modules.
struct Streams {
    FileDescriptor input;
    FileDescriptor answer;
};

/// Ends the process where something has failed that never does: without it a password would not be
/// safe.
void require(bool isDone) {
    if (!isDone) {
        std::abort();
    }
}

/// Takes the standard streams away: whatever a module reads or prints is nothing of ours.
Streams takeStandardStreams() {
    closefrom(STDERR_FILENO + 1);
    Streams streams{aboveStandardStreams(FileDescriptor(STDIN_FILENO)),
                    aboveStandardStreams(FileDescriptor(STDOUT_FILENO))};
    const FileDescriptor nothing =
        aboveStandardStreams(FileDescriptor(open("/dev/null", O_RDWR | O_CLOEXEC)));
    for (const int standard : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO}) {
        require(dup2(nothing.get(), standard) == standard);
    }
    return streams;
}

/// Nothing of the caller's surroundings reaches the libraries, and no password a core dump.
void closeOff() {
    const rlimit nothing{0, 0};
    require(prctl(PR_SET_DUMPABLE, 0) == 0 && setrlimit(RLIMIT_CORE, &nothing) == 0 &&
            clearenv() == 0 && setenv("PATH", "/usr/sbin:/usr/bin:/sbin:/bin", 1) == 0);
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

/// Keeps all memory out of swap where there is no limit that a library could run into later; root
/// may lift it. Else only the request is kept out of it.
void lockEverything() {
    const rlimit none{RLIM_INFINITY, RLIM_INFINITY};
    if (setrlimit(RLIMIT_MEMLOCK, &none) == 0) {
        static_cast<void>(mlockall(MCL_CURRENT | MCL_FUTURE));
    }
}

/// Whether the process has more rights than the user who started it.
bool hasForeignRights() {
    return getauxval(AT_SECURE) != 0 || getuid() != geteuid() || getgid() != getegid();
}

/// Asks PAM on behalf of `caller`. Where there are turns they are waited for, with the time that
/// the check has.
int verdictFor(Streams& streams, uid_t caller, const Turns* turns, const CheckerLimits& limits) {
    const auto begin = std::chrono::steady_clock::now();
    CheckRequest request;
    if (!request.read(streams.input.get(),
                      begin + (turns == nullptr ? limits.check : limits.request),
                      protocol::longestPassword)) {
        return PAM_CONV_ERR;
    }
    return guardedCheck(
        [&] {
            // Locks are not inherited.
            lockEverything();
            request.lock();
            streams = Streams();
            if (turns != nullptr && !turns->wait(std::string(request.userName()))) {
                return PAM_SYSTEM_ERR;
            }
            return askPam(request, caller);
        },
        begin + limits.check);
}

/// As the system service.
int serviceVerdict(Streams& streams, uid_t caller, const CheckerLimits& limits) {
    if (!mayAsk(caller)) {
        return PAM_PERM_DENIED;
    }
    const Turns turns(caller);
    return turns.isOpen() ? verdictFor(streams, caller, &turns, limits) : PAM_SYSTEM_ERR;
}

int pamVerdict(Streams& streams, const CheckerLimits& limits) {
    if (hasForeignRights()) {
        return PAM_PERM_DENIED;
    }
    if (!isSocket(streams.input)) {
        return verdictFor(streams, getuid(), nullptr, limits);
    }
    const auto caller = callerOf(streams.input);
    if (!caller) {
        return PAM_PERM_DENIED;
    }
    const int code = serviceVerdict(streams, *caller, limits);
    logVerdict(*caller, code);
    return code;
}

/// The line about a local account.
std::string pamAnswer(Streams& streams, const CheckerLimits& limits) {
    const int code = pamVerdict(streams, limits);
    return code == PAM_SUCCESS ? std::string(protocol::accepted)
                               : refusal(code, pam_strerror(nullptr, code));
}

std::optional<DirectoryError> directoryVerdict(const Streams& streams,
                                               const DirectoryNodeSettings& settings,
                                               const CheckerLimits& limits) {
    // A user's own rights are all that this is for: the system service asks no server that a caller
    // names.
    if (hasForeignRights() || isSocket(streams.input)) {
        return ldapError(LDAP_INSUFFICIENT_ACCESS, "The system service asks no directory server");
    }
    // No file of the user's decides what the directory's library trusts.
    require(setenv("LDAPNOINIT", "1", 1) == 0);
    const StepLimit limit{streams.answer.get(), settings.timeout};
    const auto handle = openDirectory(settings, limit);
    if (!handle) {
        return handle.error();
    }
    CheckRequest request;
    if (!answer(streams.answer.get(), protocol::ready) ||
        !request.read(streams.input.get(), std::chrono::steady_clock::now() + limits.check,
                      protocol::longestDirectoryPassword)) {
        return ldapError(LDAP_PARAM_ERROR, "The request is malformed");
    }
    return askDirectory(handle->get(), settings, request, limit);
}

/// The line about an account of a directory server, after the one that it is ready.
std::string directoryAnswer(const Streams& streams, const DirectoryNodeSettings& settings,
                            const CheckerLimits& limits) {
    const auto error = directoryVerdict(streams, settings, limits);
    return error ? refusal(static_cast<int>(error->code), error->message)
                 : std::string(protocol::accepted);
}

/// The directory server that the arguments describe; none for any other arguments.
std::optional<DirectoryNodeSettings> nodeIn(int count, char** arguments) {
    constexpr int longestLimit = 60;
    if (count != 7 || arguments[1] != protocol::ldap) {
        return std::nullopt;
    }
    const std::string_view text = arguments[6];
    // What is no number, or too great for one, leaves it as it is.
    int seconds = 0;
    const char* const end = text.data() + text.size();
    if (std::from_chars(text.data(), end, seconds).ptr != end || seconds < 1 ||
        seconds > longestLimit) {
        return std::nullopt;
    }
    return DirectoryNodeSettings{.uri = arguments[2],
                                 .userBase = arguments[3],
                                 .userFilter = arguments[4],
                                 .certificateAuthorities = arguments[5],
                                 .timeout = std::chrono::seconds(seconds)};
}

}  // namespace

int runChecker(int argc, char** argv, const CheckerLimits& limits) {
    // As the service manager starts it.
    if (argc == 2 && argv[1] == std::string_view("serve") &&
        sd_is_socket_unix(SD_LISTEN_FDS_START, SOCK_STREAM, 1, nullptr, 0) > 0) {
        receiveConnections(FileDescriptor(SD_LISTEN_FDS_START), limits.idle);
        return acceptedStatus;
    }
    const auto node = nodeIn(argc, argv);
    if (argc != 1 && !node) {
        static_cast<void>(std::fputs(
            "Usage: osupdate-checkpass [serve | ldap URI BASE FILTER AUTHORITIES SECONDS]"
            " < REQUEST\n",
            stderr));
        return wrongUsage;
    }
    Streams streams = takeStandardStreams();
    closeOff();
    lockEverything();
    const std::string line =
        node ? directoryAnswer(streams, *node, limits) : pamAnswer(streams, limits);
    // An answer that does not arrive is none, and that is a refusal.
    const bool told = answer(streams.answer.get(), line);
    return told && line == protocol::accepted ? acceptedStatus : refusedStatus;
}

}  // namespace velunor
