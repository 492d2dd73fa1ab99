#include "platform/posix/password_database.h"

#include <grp.h>
#include <pwd.h>

#include <cerrno>
#include <vector>

namespace velunor {
namespace {

/// Asks one of the database's functions with a buffer, a larger one as long as it wants that. Null
/// where there is no such entry, with `error` 0, or the database cannot be read.
template <class Record, class Function, class Key>
const Record* entryFor(Function function, Key key, Record& record, std::vector<char>& buffer,
                       int& error) {
    constexpr std::size_t firstSize = 1024;
    constexpr std::size_t largestSize = std::size_t{16} << 20U;
    Record* found = nullptr;
    buffer.resize(firstSize);
    while ((error = function(key, &record, buffer.data(), buffer.size(), &found)) == ERANGE &&
           buffer.size() < largestSize) {
        buffer.resize(buffer.size() * 2);
    }
    return error == 0 ? found : nullptr;
}

std::string textOf(const char* text) {
    return text == nullptr ? std::string() : std::string(text);
}

}  // namespace

std::optional<PasswordEntry> passwordEntryOf(uid_t userIdentifier) {
    int error = 0;
    passwd record{};
    std::vector<char> buffer;
    const passwd* entry = entryFor(getpwuid_r, userIdentifier, record, buffer, error);
    if (entry == nullptr) {
        return std::nullopt;
    }
    return PasswordEntry{entry->pw_name == nullptr ? std::nullopt
                                                   : std::optional<std::string>(entry->pw_name)};
}

LocalAccountResult accountFoundAs(const std::string& name) {
    LocalAccountResult result;
    // A name ends at its first NUL there; what follows would go unseen.
    if (name.find('\0') != std::string::npos) {
        return result;
    }
    passwd record{};
    std::vector<char> buffer;
    const passwd* entry = entryFor(getpwnam_r, name.c_str(), record, buffer, result.error);
    // Several sources of the database tell in this way that they have no such entry.
    if (result.error == ENOENT || result.error == ESRCH) {
        result.error = 0;
    }
    if (entry != nullptr) {
        result.account = {.name = textOf(entry->pw_name),
                          .homeDirectory = textOf(entry->pw_dir),
                          .user = entry->pw_uid,
                          .group = entry->pw_gid};
    }
    return result;
}

LocalAccountResult localAccountNamed(const std::string& name) {
    LocalAccountResult result = accountFoundAs(name);
    if (result.account && result.account->name != name) {
        result.account.reset();
    }
    return result;
}

std::optional<gid_t> groupNamed(const std::string& name) {
    int error = 0;
    group record{};
    std::vector<char> buffer;
    const group* entry = entryFor(getgrnam_r, name.c_str(), record, buffer, error);
    return entry == nullptr ? std::nullopt : std::optional(entry->gr_gid);
}

}  // namespace velunor
