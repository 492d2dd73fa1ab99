#include "tools/osupdate_checkpass/service/caller.h"

#include <security/pam_appl.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <syslog.h>
#include <systemd/sd-login.h>

#include <cstdlib>
#include <string_view>

#include "platform/owned.h"

namespace velunor {
namespace {

// The lines have no user name: people type passwords there.
void openLog() {
    openlog("osupdate-checkpass", LOG_PID, LOG_AUTHPRIV);
}

}  // namespace

bool isSocket(const FileDescriptor& descriptor) {
    struct stat status {};
    return fstat(descriptor.get(), &status) == 0 && S_ISSOCK(status.st_mode);
}

std::optional<uid_t> callerOf(const FileDescriptor& socket) {
    ucred peer{};
    socklen_t size = sizeof peer;
    const bool isTold = getsockopt(socket.get(), SOL_SOCKET, SO_PEERCRED, &peer, &size) == 0 &&
                        peer.uid != static_cast<uid_t>(-1);
    return isTold ? std::optional(peer.uid) : std::nullopt;
}

bool mayAsk(uid_t caller) {
    if (caller == 0) {
        return true;
    }
    char* text = nullptr;
    if (sd_uid_get_state(caller, &text) < 0) {
        return false;
    }
    const Owned<char, std::free> state(text);
    return std::string_view(state.get()) == "active";
}

void logTurnedAway(uid_t caller) {
    openLog();
    syslog(LOG_NOTICE, "password check for uid %lu: no answer, too many at once",
           static_cast<unsigned long>(caller));
}

void logVerdict(uid_t caller, int code) {
    openLog();
    syslog(code == PAM_SUCCESS ? LOG_INFO : LOG_NOTICE, "password check for uid %lu: %s (%d)",
           static_cast<unsigned long>(caller), code == PAM_SUCCESS ? "accepted" : "refused", code);
}

}  // namespace velunor
