// Answers whether an account may authorise system updates. The answer never repeats the name: the
// prompt looks for key texts in it, and a name must not be able to hold one. Needs no privileges.

#include <grp.h>

#include <algorithm>
#include <cstddef>
#include <cstdio>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "agent/linux/settings.h"
#include "platform/file.h"
#include "platform/posix/password_database.h"

namespace {

enum ExitStatus {
    known = 0,
    unknownAccount = 1,
    wrongSettingsPath = 1,
    wrongUsage = 2,
    unusableSettings = 3
};

int answer(std::FILE* stream, const char* line, ExitStatus status) {
    static_cast<void>(std::fprintf(stream, "%s\n", line));
    return status;
}

/// The account's primary group and its supplementary ones.
std::vector<gid_t> groupsOf(const velunor::LocalAccount& account) {
    int count = 0;
    // Without room it tells how many there are.
    getgrouplist(account.name.c_str(), account.group, nullptr, &count);
    std::vector<gid_t> groups(static_cast<std::size_t>(count));
    if (getgrouplist(account.name.c_str(), account.group, groups.data(), &count) < 0) {
        return {account.group};
    }
    groups.resize(static_cast<std::size_t>(count));
    return groups;
}

/// Whether the account is root or in one of the groups. A group that does not exist has no members.
bool mayAuthorise(const velunor::LocalAccount& account,
                  const std::vector<std::string>& adminGroups) {
    if (account.user == 0) {
        return true;
    }
    const auto groups = groupsOf(account);
    return std::any_of(adminGroups.begin(), adminGroups.end(), [&](const std::string& name) {
        const auto group = velunor::groupNamed(name);
        return group && std::find(groups.begin(), groups.end(), *group) != groups.end();
    });
}

}  // namespace

int main(int argc, char** argv) {
    if (argc != 3 || std::string_view(argv[1]) != "-secureTokenStatus") {
        return answer(stderr, "Usage: sysadminctl -secureTokenStatus USER", wrongUsage);
    }
    velunor::AgentSettings settings;
    const auto path = velunor::settingsPath();
    if (!path) {
        return answer(stderr, path.error().description.c_str(), wrongSettingsPath);
    }
    if (velunor::fileExists(*path)) {
        auto loaded = velunor::loadSettings(*path);
        if (!loaded) {
            return answer(stderr, "The agent's settings cannot be used", unusableSettings);
        }
        settings = *std::move(loaded);
    }
    const auto account = velunor::accountFoundAs(argv[2]).account;
    if (!account) {
        return answer(stdout, "Unknown user", unknownAccount);
    }
    const bool holdsToken = mayAuthorise(*account, settings.adminGroups);
    return answer(
        stdout,
        holdsToken ? "Secure token is ENABLED for user" : "Secure token is DISABLED for user",
        known);
}
