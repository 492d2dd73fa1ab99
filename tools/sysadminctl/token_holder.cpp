#include "tools/sysadminctl/token_holder.h"

#include <grp.h>
#include <sys/types.h>

#include <algorithm>
#include <cstddef>
#include <vector>

#include "platform/posix/password_database.h"

namespace velunor {
namespace {

std::vector<gid_t> groupsOf(const LocalAccount& account) {
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
    const auto found = accountFoundAs(account).account;
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
