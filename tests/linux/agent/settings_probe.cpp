// Prints the product name of the settings that the library finds.

#include <cstdio>
#include <cstdlib>

#include "agent/ltarnutils.h"

int main() {
    velunor::TarnUtilMac().initializeAgentParams();
    const bool told =
        std::puts(velunor::UtilsWrapper().productName().c_str()) >= 0 && std::fflush(stdout) == 0;
    // A process with more rights than its user cannot be searched for leaks at its end.
    std::_Exit(told ? EXIT_SUCCESS : EXIT_FAILURE);
}
