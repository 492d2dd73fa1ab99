// The credential checker with limits that a test can wait for.

#include <chrono>
#include <cstdlib>

#include "tools/osupdate_checkpass/checker.h"

int main(int argc, char** argv) {
    constexpr std::chrono::milliseconds timeLimit{700};
    std::_Exit(velunor::runChecker(argc, argv,
                                   {.request = timeLimit, .check = timeLimit, .idle = timeLimit}));
}
