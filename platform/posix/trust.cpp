#include "platform/posix/trust.h"

#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <deque>
#include <filesystem>
#include <system_error>

namespace velunor {
namespace {

using std::filesystem::path;

/// Whether only root and this user may change what this is about.
bool isClosed(const struct stat& status) {
    const bool owned = status.st_uid == 0 || status.st_uid == geteuid();
    const bool isSticky = S_ISDIR(status.st_mode) && (status.st_mode & S_ISVTX) != 0;
    // A symbolic link has no rights of its own.
    return owned &&
           (isSticky || S_ISLNK(status.st_mode) || (status.st_mode & (S_IWGRP | S_IWOTH)) == 0);
}

}  // namespace

int distrust(const std::string& file) {
    constexpr int mostLinks = 40;
    int links = 0;
    struct stat status {};
    path place("/");
    const path whole(file);
    std::deque<path> rest(whole.begin(), whole.end());
    while (!rest.empty()) {
        place = rest.front() == ".." ? place.parent_path() : place / rest.front();
        rest.pop_front();
        if (place == "/") {
            continue;
        }
        if (lstat(place.c_str(), &status) != 0) {
            return errno;
        }
        if (!isClosed(status)) {
            return EPERM;
        }
        if (S_ISLNK(status.st_mode)) {
            std::error_code error;
            const path target = read_symlink(place, error);
            if (error || ++links > mostLinks) {
                return error ? error.value() : ELOOP;
            }
            rest.insert(rest.begin(), target.begin(), target.end());
            place = place.parent_path();
        }
    }
    return S_ISREG(status.st_mode) ? 0 : EPERM;
}

}  // namespace velunor
