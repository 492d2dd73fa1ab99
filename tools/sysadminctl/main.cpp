#include <cstdio>
#include <string_view>

#include "agent/linux/settings.h"
#include "tools/sysadminctl/secure_token.h"

namespace {

constexpr int unknownUserStatus = 1;
constexpr int usageStatus = 2;

/// The administrators' groups of the agent's settings; the usual ones without settings.
std::vector<std::string> administratorGroups() {
    auto settings = velunor::loadSettings(velunor::settingsPath());
    if (auto* loaded = std::get_if<velunor::AgentSettings>(&settings)) {
        return std::move(loaded->adminGroups);
    }
    return velunor::AgentSettings().adminGroups;
}

}  // namespace

int main(int argc, char** argv) {
    if (argc != 3 || std::string_view(argv[1]) != "-secureTokenStatus") {
        std::fputs("usage: sysadminctl -secureTokenStatus USER\n", stderr);
        return usageStatus;
    }
    // The typed name is never repeated: whoever reads the answer looks for words in it.
    switch (velunor::secureTokenOf(argv[2], administratorGroups())) {
        case velunor::TokenAnswer::enabled:
            std::puts("Secure token is ENABLED");
            return 0;
        case velunor::TokenAnswer::disabled:
            std::puts("Secure token is DISABLED");
            return 0;
        case velunor::TokenAnswer::unknownUser:
            break;
    }
    std::puts("Unknown user");
    return unknownUserStatus;
}
