#include "platform/posix/password_database.h"

#include <pwd.h>

#include <cerrno>
#include <vector>

namespace velunor {

namespace {

/// Calls `look` with a buffer, a larger one as long as it asks for that; none where there is no
/// such entry or the database cannot be read, which is told in `error`.
template <class Look, class Take>
auto entryFound(Look&& look, Take&& take, int& error) -> std::optional<decltype(take(passwd{}))> {
    constexpr std::size_t firstSize = 1024;
    constexpr std::size_t largestSize = std::size_t{1} << 20U;
    passwd record{};
    passwd* found = nullptr;
    std::vector<char> buffer(firstSize);
    error = look(record, buffer, found);
    while (error == ERANGE && buffer.size() < largestSize) {
        buffer.resize(buffer.size() * 2);
        error = look(record, buffer, found);
    }
    if (error != 0 || found == nullptr) {
        return std::nullopt;
    }
    return take(*found);
}

std::string textOf(const char* text) {
    return text == nullptr ? std::string() : std::string(text);
}

}  // namespace

std::optional<PasswordEntry> passwordEntryOf(uid_t userIdentifier) {
    int error = 0;
    return entryFound(
        [userIdentifier](passwd& record, std::vector<char>& buffer, passwd*& found) {
            return getpwuid_r(userIdentifier, &record, buffer.data(), buffer.size(), &found);
        },
        [](const passwd& entry) {
            return PasswordEntry{entry.pw_name == nullptr
                                     ? std::nullopt
                                     : std::optional<std::string>(entry.pw_name)};
        },
        error);
}

LocalAccountResult localAccountNamed(const std::string& name) {
    // A name ends at its first NUL there; what follows would go unseen.
    if (name.find('\0') != std::string::npos) {
        return {};
    }
    LocalAccountResult result;
    result.account = entryFound(
        [&name](passwd& record, std::vector<char>& buffer, passwd*& found) {
            return getpwnam_r(name.c_str(), &record, buffer.data(), buffer.size(), &found);
        },
        [](const passwd& entry) {
            return LocalAccount{textOf(entry.pw_name), textOf(entry.pw_dir)};
        },
        result.error);
    // Several sources of the database tell in this way that they have no such entry.
    if (result.error == ENOENT || result.error == ESRCH) {
        result.error = 0;
    }
    // Some sources do not mind the case of letters, but this asks for one account only.
    if (result.account && result.account->name != name) {
        result.account.reset();
    }
    return result;
}

}  // namespace velunor
