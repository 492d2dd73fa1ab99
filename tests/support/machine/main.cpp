// The main program of tests that need a machine of their own: started as any test, it enters one.

#include <gtest/gtest.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <string_view>
#include <vector>

namespace {

constexpr const char* insideVariable = "VELUNOR_TEST_MACHINE";

bool onlyLists(int argc, char** argv) {
    for (int index = 1; index < argc; ++index) {
        if (std::string_view(argv[index]) == "--gtest_list_tests") {
            return true;
        }
    }
    return false;
}

[[noreturn]] void enterMachine(int argc, char** argv) {
    std::vector<const char*> command{ENTER_MACHINE, SOURCE_TREE, "/usr/bin/env",
                                     "VELUNOR_TEST_MACHINE=1", TEST_PROGRAM};
    command.insert(command.end(), argv + 1, argv + argc);
    command.push_back(nullptr);
    execv(ENTER_MACHINE, const_cast<char**>(command.data()));
    std::perror(ENTER_MACHINE);
    std::exit(EXIT_FAILURE);
}

}  // namespace

int main(int argc, char** argv) {
    if (!onlyLists(argc, argv) && std::getenv(insideVariable) == nullptr) {
        enterMachine(argc, argv);
    }
    testing::InitGoogleTest(&argc, argv);
    return RUN_ALL_TESTS();
}
