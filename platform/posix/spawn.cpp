#include "platform/posix/spawn.h"

#include <fcntl.h>
#include <spawn.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <vector>

namespace velunor {

namespace {

void addStream(posix_spawn_file_actions_t& actions, int stream, int standard) {
    if (stream >= 0) {
        posix_spawn_file_actions_adddup2(&actions, stream, standard);
    } else if (stream == emptyStream) {
        posix_spawn_file_actions_addopen(&actions, standard, "/dev/null",
                                         standard == STDIN_FILENO ? O_RDONLY : O_WRONLY, 0);
    }
}

/// What a spawn does to the child before its program begins.
class Settings {
  public:
    Settings(const StandardStreams& streams, ProcessGroup group) {
        posix_spawn_file_actions_init(&actions_);
        addStream(actions_, streams.input, STDIN_FILENO);
        addStream(actions_, streams.output, STDOUT_FILENO);
        addStream(actions_, streams.error, STDERR_FILENO);
        posix_spawn_file_actions_addclosefrom_np(&actions_, STDERR_FILENO + 1);
        sigset_t none;
        sigset_t all;
        sigemptyset(&none);
        sigfillset(&all);
        // Who has had the program ignore these, with nohup(1) for instance, means the child too.
        for (const int number : {SIGHUP, SIGINT, SIGQUIT}) {
            sigdelset(&all, number);
        }
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
    Settings(const Settings&) = delete;
    Settings& operator=(const Settings&) = delete;
    ~Settings() {
        posix_spawnattr_destroy(&attributes_);
        posix_spawn_file_actions_destroy(&actions_);
    }

    [[nodiscard]] const posix_spawn_file_actions_t* actions() const { return &actions_; }
    [[nodiscard]] const posix_spawnattr_t* attributes() const { return &attributes_; }

  private:
    posix_spawn_file_actions_t actions_{};
    posix_spawnattr_t attributes_{};
};

}  // namespace

int spawn(const SpawnRequest& request, pid_t& child) {
    std::vector<char*> arguments{const_cast<char*>(request.program.c_str())};
    for (const std::string& argument : request.arguments) {
        // An argument cannot carry a NUL; cutting it there would ask for something else.
        if (argument.find('\0') != std::string::npos) {
            return EINVAL;
        }
        arguments.push_back(const_cast<char*>(argument.c_str()));
    }
    arguments.push_back(nullptr);
    const Settings settings(request.streams, request.group);
    return posix_spawnp(&child, request.program.c_str(), settings.actions(), settings.attributes(),
                        arguments.data(), request.environment);
}

}  // namespace velunor
