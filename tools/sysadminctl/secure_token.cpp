#include "tools/sysadminctl/secure_token.h"

#include <grp.h>
#include <pwd.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <optional>

namespace velunor {

namespace {

constexpr std::size_t firstBuffer = 1024;
constexpr std::size_t largestBuffer = std::size_t{1} << 20U;

struct Account {
    std::string name;
    uid_t user = 0;
    gid_t group = 0;
};

std::optional<Account> accountOf(const std::string& user) {
    passwd record{};
    passwd* found = nullptr;
    std::vector<char> buffer(firstBuffer);
    int error = getpwnam_r(user.c_str(), &record, buffer.data(), buffer.size(), &found);
    while (error == ERANGE && buffer.size() < largestBuffer) {
        buffer.resize(buffer.size() * 2);
        error = getpwnam_r(user.c_str(), &record, buffer.data(), buffer.size(), &found);
    }
    if (error != 0 || found == nullptr) {
        return std::nullopt;
    }
    return Account{found->pw_name, found->pw_uid, found->pw_gid};
}

std::optional<gid_t> groupOf(const std::string& name) {
    group record{};
    group* found = nullptr;
    std::vector<char> buffer(firstBuffer);
    int error = getgrnam_r(name.c_str(), &record, buffer.data(), buffer.size(), &found);
    while (error == ERANGE && buffer.size() < largestBuffer) {
        buffer.resize(buffer.size() * 2);
        error = getgrnam_r(name.c_str(), &record, buffer.data(), buffer.size(), &found);
    }
    return error == 0 && found != nullptr ? std::optional(found->gr_gid) : std::nullopt;
}

std::vector<gid_t> groupsOf(const Account& account) {
    int count = 64;
    std::vector<gid_t> groups(static_cast<std::size_t>(count));
    if (getgrouplist(account.name.c_str(), account.group, groups.data(), &count) < 0) {
        groups.resize(static_cast<std::size_t>(count));
        getgrouplist(account.name.c_str(), account.group, groups.data(), &count);
    }
    groups.resize(static_cast<std::size_t>(std::max(count, 0)));
    return groups;
}

}  // namespace

TokenAnswer secureTokenOf(const std::string& user, const std::vector<std::string>& adminGroups) {
    const auto account = accountOf(user);
    if (!account) {
        return TokenAnswer::unknownUser;
    }
    if (account->user == 0) {
        return TokenAnswer::enabled;
    }
    const auto own = groupsOf(*account);
    const bool isAdmin =
        std::any_of(adminGroups.begin(), adminGroups.end(), [&own](const std::string& name) {
            const auto group = groupOf(name);
            return group && std::find(own.begin(), own.end(), *group) != own.end();
        });
    return isAdmin ? TokenAnswer::enabled : TokenAnswer::disabled;
}

}  // namespace velunor
