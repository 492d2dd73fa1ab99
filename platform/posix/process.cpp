#include "platform/posix/process.h"

#include <unistd.h>

#include <cstdio>
#include <filesystem>
#include <system_error>

#include "platform/posix/password_database.h"

namespace velunor {

std::string LinuxProcessInfo::bundlePath() const {
    std::error_code error;
    const auto program = std::filesystem::read_symlink("/proc/self/exe", error);
    return error ? std::string() : program.parent_path().string();
}

std::string LinuxProcessInfo::userName() const {
    const auto entry = passwordEntryOf(getuid());
    return entry ? entry->name.value_or("") : std::string();
}

void LinuxProcessExit::exit(int status) {
    static_cast<void>(std::fflush(nullptr));
    _exit(status);
}

std::chrono::system_clock::time_point SystemClock::now() const {
    return std::chrono::system_clock::now();
}

}  // namespace velunor
