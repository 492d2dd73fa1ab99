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

void logVerdict(uid_t caller, int code) {
    // Without the user name: people type passwords there.
    openlog("osupdate-checkpass", LOG_PID, LOG_AUTHPRIV);
    syslog(code == PAM_SUCCESS ? LOG_INFO : LOG_NOTICE, "password check for uid %lu: %s (%d)",
           static_cast<unsigned long>(caller), code == PAM_SUCCESS ? "accepted" : "refused", code);
}

}  // namespace velunor
