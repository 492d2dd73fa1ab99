// Prints the product name of the settings that the library finds.

#include <cstdio>

#include "agent/ltarnutils.h"

int main() {
    velunor::TarnUtilMac().initializeAgentParams();
    return std::puts(velunor::UtilsWrapper().productName().c_str()) < 0 ? 1 : 0;
}
