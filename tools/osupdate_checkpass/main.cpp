// Tells whether a password is that of an account: one request on the standard input, one line on
// the standard output. PAM is asked about a local account; a directory server that the arguments
// describe about one of its own. Started by systemd with a connection of the service's socket it
// answers what root may ask; started by a user it has that user's rights and no more.

#include <sys/prctl.h>

#include <cstdlib>

#include "tools/osupdate_checkpass/checker.h"

int main(int argc, char** argv) {
    // Started again by the service it would be listed under the name of the link to itself.
    prctl(PR_SET_NAME, "osupdate-checkpass");
    // Nothing that the libraries would still do at the end is needed.
    std::_Exit(velunor::runChecker(argc, argv, {}));
}
