#include "tools/osupdate_checkpass/caller.h"

#include <sys/auxv.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <systemd/sd-login.h>
#include <unistd.h>

#include <cstdlib>
#include <memory>
#include <string_view>

namespace velunor {
namespace {

/// A session of the user is in the foreground of its seat, or is a remote one in use. A user whose
/// last session is closing, or who only has services running, is not there to be asked.
bool hasActiveSession(uid_t user) {
    char* text = nullptr;
    if (sd_uid_get_state(user, &text) < 0) {
        return false;
    }
    const std::unique_ptr<char, decltype(&std::free)> state(text, &std::free);
    return std::string_view(state.get()) == "active";
}

}  // namespace

bool isSocket(int descriptor) {
    struct stat status {};
    return fstat(descriptor, &status) == 0 && S_ISSOCK(status.st_mode);
}

std::optional<SocketCaller> callerOf(int socket) {
    ucred peer{};
    socklen_t size = sizeof peer;
    if (getsockopt(socket, SOL_SOCKET, SO_PEERCRED, &peer, &size) != 0 ||
        peer.uid == static_cast<uid_t>(-1)) {
        return std::nullopt;
    }
    return SocketCaller{peer.uid, peer.uid == 0 || hasActiveSession(peer.uid)};
}

bool hasForeignRights() {
    return getauxval(AT_SECURE) != 0 || getuid() != geteuid() || getgid() != getegid();
}

}  // namespace velunor
