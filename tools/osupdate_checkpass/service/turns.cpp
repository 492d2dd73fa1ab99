#include "tools/osupdate_checkpass/service/turns.h"

#include <fcntl.h>
#include <sys/stat.h>

#include <cerrno>
#include <cstdint>
#include <functional>

#include "platform/posix/password_database.h"

namespace velunor {
namespace {

/// Below the directory that the unit makes.
constexpr const char* path = "/run/velunor/osupdate-checkpass.lock";

// Each byte of the file, which stays empty, stands for a turn that one process alone may have.
// First those of the callers, behind them the accounts that the password database knows, then
// others.
constexpr off_t accounts = 0x1'0000'0000;
constexpr off_t otherAccounts = 0x2'0000'0000;

bool lock(const FileDescriptor& file, off_t byte) {
    struct flock request {
        .l_type = F_WRLCK, .l_whence = SEEK_SET, .l_start = byte, .l_len = 1, .l_pid = 0
    };
    while (fcntl(file.get(), F_OFD_SETLKW, &request) != 0) {
        if (errno != EINTR) {
            return false;
        }
    }
    return true;
}

off_t byteOf(const std::string& account) {
    const LocalAccountResult found = accountFoundAs(account);
    if (found.account) {
        return accounts | found.account->user;
    }
    return otherAccounts | static_cast<std::uint32_t>(std::hash<std::string>()(account));
}

}  // namespace

Turns::Turns(uid_t caller)
    : caller_(caller),
      file_(open(path, O_RDWR | O_CREAT | O_CLOEXEC | O_NOFOLLOW, S_IRUSR | S_IWUSR)) {}

bool Turns::wait(const std::string& account) const {
    return lock(file_, caller_) && lock(file_, byteOf(account));
}

}  // namespace velunor
