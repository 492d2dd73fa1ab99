#include "platform/linux/directory/library_environment.h"

#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <system_error>

namespace velunor {

void leaveOutRevealingVariables(char** arguments) {
    bool found = false;
    for (const char* name :
         {"SSLKEYLOGFILE", "GNUTLS_DEBUG_LEVEL", "GNUTLS_SYSTEM_PRIORITY_FILE"}) {
        if (std::getenv(name) != nullptr) {
            unsetenv(name);
            found = true;
        }
    }
    if (!found) {
        return;
    }
    // By its own path, which also gives the process its name.
    std::error_code error;
    const auto program = std::filesystem::read_symlink("/proc/self/exe", error);
    execv(program.c_str(), arguments);
}

}  // namespace velunor
