#include "tools/sysadminctl/token_holder.h"

#include <grp.h>
#include <pwd.h>
#include <sys/types.h>

#include <algorithm>
#include <cerrno>
#include <cstddef>
#include <optional>
#include <vector>

namespace velunor {

namespace {

struct Account {
    std::string name;
    uid_t user = 0;
    gid_t group = 0;
};

/// Calls one of the getXXnam_r functions with a buffer that is large enough; its answer goes to
/// `record`. False when there is no such entry.
template <class Record, class LookUp>
bool lookUp(LookUp function, const std::string& name, Record& record, std::vector<char>& buffer) {
    constexpr std::size_t firstSize = 4096;
    constexpr std::size_t largestSize = std::size_t{16} << 20U;
    Record* found = nullptr;
    buffer.resize(firstSize);
    int error = ERANGE;
    while ((error = function(name.c_str(), &record, buffer.data(), buffer.size(), &found)) ==
               ERANGE &&
           buffer.size() < largestSize) {
        buffer.resize(buffer.size() * 2);
    }
    return error == 0 && found != nullptr;
}

std::optional<Account> accountNamed(const std::string& name) {
    passwd record{};
    std::vector<char> buffer;
    if (!lookUp(getpwnam_r, name, record, buffer)) {
        return std::nullopt;
    }
    return Account{record.pw_name, record.pw_uid, record.pw_gid};
}

std::optional<gid_t> groupNamed(const std::string& name) {
    group record{};
    std::vector<char> buffer;
    return lookUp(getgrnam_r, name, record, buffer) ? std::optional(record.gr_gid) : std::nullopt;
}

std::vector<gid_t> groupsOf(const Account& account) {
    constexpr std::size_t firstCount = 64;
    constexpr std::size_t largestCount = 65536;
    std::vector<gid_t> groups(firstCount);
    while (true) {
        int count = static_cast<int>(groups.size());
        if (getgrouplist(account.name.c_str(), account.group, groups.data(), &count) >= 0) {
            groups.resize(static_cast<std::size_t>(count));
            return groups;
        }
        if (groups.size() >= largestCount) {
            return {account.group};
        }
        groups.resize(groups.size() * 2);
    }
}

}  // namespace

TokenHolder tokenHolder(const std::string& account, std::span<const std::string> adminGroups) {
    const auto found = accountNamed(account);
    if (!found) {
        return TokenHolder::unknownAccount;
    }
    if (found->user == 0) {
        return TokenHolder::yes;
    }
    const auto groups = groupsOf(*found);
    const bool isAdministrator =
        std::any_of(adminGroups.begin(), adminGroups.end(), [&](const std::string& name) {
            const auto group = groupNamed(name);
            return group && std::find(groups.begin(), groups.end(), *group) != groups.end();
        });
    return isAdministrator ? TokenHolder::yes : TokenHolder::no;
}

}  // namespace velunor
