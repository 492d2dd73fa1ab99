#include "tools/osupdate_checkpass/service/receiver.h"

#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <map>
#include <optional>

#include "tools/osupdate_checkpass/service/caller.h"

namespace velunor {
namespace {

constexpr std::ptrdiff_t placesOfACaller = 16;
constexpr std::size_t places = 512;
/// How soon the end of a process that answers is noticed.
constexpr std::chrono::milliseconds betweenLooks{100};

/// The user of each process that answers.
using UnderWay = std::map<pid_t, uid_t>;

void reap(UnderWay& underWay) {
    pid_t process = 0;
    while ((process = waitpid(-1, nullptr, WNOHANG)) > 0) {
        underWay.erase(process);
    }
}

/// Whether nobody is at the other end any more; who has only sent everything still listens.
bool isLeft(const FileDescriptor& connection) {
    pollfd entry{connection.get(), 0, 0};
    return poll(&entry, 1, 0) != 0;
}

bool hasPlace(const UnderWay& underWay, uid_t caller) {
    const auto own = std::count_if(underWay.begin(), underWay.end(),
                                   [&](const auto& entry) { return entry.second == caller; });
    return own < placesOfACaller && underWay.size() < places;
}

[[noreturn]] void answer(const FileDescriptor& connection) {
    for (const int standard : {STDIN_FILENO, STDOUT_FILENO}) {
        dup2(connection.get(), standard);
    }
    execl("/proc/self/exe", "osupdate-checkpass", nullptr);
    _exit(EXIT_FAILURE);
}

}  // namespace

void receiveConnections(const FileDescriptor& listener, std::chrono::milliseconds idle) {
    UnderWay underWay;
    while (true) {
        const bool atRest = underWay.empty();
        const auto wait = atRest ? idle : betweenLooks;
        const int error =
            pollUntil(listener.get(), POLLIN, std::chrono::steady_clock::now() + wait);
        reap(underWay);
        if (error != 0) {
            if (atRest) {
                return;
            }
            continue;
        }
        const FileDescriptor connection(accept4(listener.get(), nullptr, nullptr, SOCK_CLOEXEC));
        const auto caller = connection.isOpen() ? callerOf(connection) : std::nullopt;
        if (!caller || isLeft(connection) || !hasPlace(underWay, *caller)) {
            continue;
        }
        const pid_t process = fork();
        if (process == 0) {
            answer(connection);
        }
        if (process > 0) {
            underWay[process] = *caller;
        }
    }
}

}  // namespace velunor
