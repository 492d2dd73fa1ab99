// Opens a directory node in a process of its own, which can have any environment: what the library
// has read from there stays with a process. Arguments: the server's URI, a file with authorities.
// Prints what the library demands of certificates by itself, and whether the node opens.

#include <ldap.h>

#include <cstdio>

#include "platform/linux/directory/directory_service.h"

int main(int count, char** arguments) {
    using namespace velunor;
    if (count != 3) {
        return 2;
    }
    DirectoryNodeSettings settings;
    settings.uri = arguments[1];
    settings.certificateAuthorities = arguments[2];
    int demanded = -1;
    ldap_get_option(nullptr, LDAP_OPT_X_TLS_REQUIRE_CERT, &demanded);
    std::puts(demanded == LDAP_OPT_X_TLS_NEVER ? "demands nothing" : "demands a certificate");
    const auto node = openNetworkNode(CHECKPASS_PROGRAM, settings);
    std::puts(node ? "opens" : node.error().description().c_str());
    return 0;
}
