#include "platform/posix/spawn_settings.h"

#include <fcntl.h>
#include <unistd.h>

#include <csignal>

namespace velunor {

namespace {

void addStream(posix_spawn_file_actions_t& actions, int stream, int standard) {
    if (stream >= 0) {
        posix_spawn_file_actions_adddup2(&actions, stream, standard);
    } else {
        posix_spawn_file_actions_addopen(&actions, standard, "/dev/null",
                                         standard == STDIN_FILENO ? O_RDONLY : O_WRONLY, 0);
    }
}

}  // namespace

SpawnSettings::SpawnSettings(const StandardStreams& streams, ProcessGroup group) {
    posix_spawn_file_actions_init(&actions_);
    addStream(actions_, streams.input, STDIN_FILENO);
    addStream(actions_, streams.output, STDOUT_FILENO);
    addStream(actions_, streams.error, STDERR_FILENO);
    posix_spawn_file_actions_addclosefrom_np(&actions_, STDERR_FILENO + 1);
    sigset_t none;
    sigset_t all;
    sigemptyset(&none);
    sigfillset(&all);
    posix_spawnattr_init(&attributes_);
    posix_spawnattr_setsigmask(&attributes_, &none);
    posix_spawnattr_setsigdefault(&attributes_, &all);
    int flags = POSIX_SPAWN_SETSIGMASK | POSIX_SPAWN_SETSIGDEF;
    if (group == ProcessGroup::own) {
        posix_spawnattr_setpgroup(&attributes_, 0);
        flags |= POSIX_SPAWN_SETPGROUP;
    }
    posix_spawnattr_setflags(&attributes_, static_cast<short>(flags));
}

SpawnSettings::~SpawnSettings() {
    posix_spawnattr_destroy(&attributes_);
    posix_spawn_file_actions_destroy(&actions_);
}

}  // namespace velunor
