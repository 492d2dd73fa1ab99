#include "platform/linux/password_database.h"

#include <pwd.h>

#include <cerrno>
#include <vector>

namespace velunor {

std::optional<PasswordEntry> passwordEntryOf(uid_t userIdentifier) {
    constexpr std::size_t firstSize = 1024;
    constexpr std::size_t largestSize = std::size_t{1} << 20U;
    passwd record{};
    passwd* found = nullptr;
    std::vector<char> buffer(firstSize);
    int error = getpwuid_r(userIdentifier, &record, buffer.data(), buffer.size(), &found);
    while (error == ERANGE && buffer.size() < largestSize) {
        buffer.resize(buffer.size() * 2);
        error = getpwuid_r(userIdentifier, &record, buffer.data(), buffer.size(), &found);
    }
    if (error != 0 || found == nullptr) {
        return std::nullopt;
    }
    return PasswordEntry{found->pw_name == nullptr ? std::nullopt
                                                   : std::optional<std::string>(found->pw_name)};
}

}  // namespace velunor
