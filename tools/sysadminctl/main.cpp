// Answers whether an account may authorise system updates. The answer never repeats the name: the
// prompt looks for key texts in it, and a name must not be able to hold one. Needs no privileges.

#include <cstdio>
#include <string>
#include <string_view>
#include <utility>

#include "agent/linux/settings.h"
#include "platform/file.h"
#include "tools/sysadminctl/token_holder.h"

namespace {

enum ExitStatus { known = 0, unknownAccount = 1, wrongUsage = 2, unusableSettings = 3 };

int answer(std::FILE* stream, const char* line, ExitStatus status) {
    static_cast<void>(std::fprintf(stream, "%s\n", line));
    return status;
}

}  // namespace

int main(int argc, char** argv) {
    if (argc != 3 || std::string_view(argv[1]) != "-secureTokenStatus") {
        return answer(stderr, "Usage: sysadminctl -secureTokenStatus USER", wrongUsage);
    }
    velunor::AgentSettings settings;
    const std::string path = velunor::settingsPath();
    if (velunor::fileExists(path)) {
        auto loaded = velunor::loadSettings(path);
        if (!loaded) {
            return answer(stderr, "The agent's settings cannot be used", unusableSettings);
        }
        settings = *std::move(loaded);
    }
    switch (velunor::tokenHolder(argv[2], settings.adminGroups)) {
        case velunor::TokenHolder::yes:
            return answer(stdout, "Secure token is ENABLED for user", known);
        case velunor::TokenHolder::no:
            return answer(stdout, "Secure token is DISABLED for user", known);
        case velunor::TokenHolder::unknownAccount:
            break;
    }
    return answer(stdout, "Unknown user", unknownAccount);
}
