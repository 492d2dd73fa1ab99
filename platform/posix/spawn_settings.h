#pragma once

#include <spawn.h>

namespace velunor {

/// Standard streams of a program to start: descriptors of the caller above the standard ones, or -1
/// for nothing to read and nothing that is kept.
struct StandardStreams {
    int input = -1;
    int output = -1;
    int error = -1;
};

/// Whether a program to start leads a process group of its own.
enum class ProcessGroup { callers, own };

/// What a spawn does to the child: these standard streams, no other descriptor, and the signals as
/// a fresh program expects them.
class SpawnSettings {
  public:
    explicit SpawnSettings(const StandardStreams& streams,
                           ProcessGroup group = ProcessGroup::callers);
    SpawnSettings(const SpawnSettings&) = delete;
    SpawnSettings& operator=(const SpawnSettings&) = delete;
    ~SpawnSettings();

    [[nodiscard]] const posix_spawn_file_actions_t* actions() const { return &actions_; }
    [[nodiscard]] const posix_spawnattr_t* attributes() const { return &attributes_; }

  private:
    posix_spawn_file_actions_t actions_{};
    posix_spawnattr_t attributes_{};
};

}  // namespace velunor
