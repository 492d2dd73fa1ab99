// The main program of tests that need a machine of their own: started as any test, it enters one.
// Where several tests are asked for, each gets another machine, so that none meets what the one
// before has left.

#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace {

constexpr const char* insideVariable = "VELUNOR_TEST_MACHINE";
constexpr std::string_view filterOption = "--gtest_filter=";

using Arguments = std::vector<std::string>;

std::string ownProgram() {
    return std::filesystem::read_symlink("/proc/self/exe");
}

[[noreturn]] void become(const Arguments& command) {
    std::vector<char*> pointers;
    pointers.reserve(command.size() + 1);
    for (const std::string& argument : command) {
        pointers.push_back(const_cast<char*>(argument.c_str()));
    }
    pointers.push_back(nullptr);
    execv(pointers.front(), pointers.data());
    std::perror(pointers.front());
    std::_Exit(EXIT_FAILURE);
}

[[noreturn]] void enterMachine(const Arguments& arguments) {
    Arguments command{ENTER_MACHINE, SOURCE_TREE, "/usr/bin/env",
                      std::string(insideVariable) + "=1", ownProgram()};
    command.insert(command.end(), arguments.begin(), arguments.end());
    become(command);
}

/// Starts `child`, which does not return, in a process of its own.
template <class Child>
pid_t startChild(Child&& child) {
    std::fflush(nullptr);
    const pid_t process = fork();
    if (process == 0) {
        child();
    }
    return process;
}

bool endsWell(pid_t process) {
    int status = 0;
    return waitpid(process, &status, 0) == process && WIFEXITED(status) &&
           WEXITSTATUS(status) == EXIT_SUCCESS;
}

/// What this program prints when it is asked for the names of its tests.
std::string listing(Arguments arguments) {
    arguments.insert(arguments.begin(), ownProgram());
    arguments.emplace_back("--gtest_list_tests");
    std::array<int, 2> ends{};
    if (pipe(ends.data()) != 0) {
        std::perror("pipe");
        std::exit(EXIT_FAILURE);
    }
    const pid_t lister = startChild([&] {
        dup2(ends[1], STDOUT_FILENO);
        close(ends[0]);
        become(arguments);
    });
    close(ends[1]);
    const std::unique_ptr<FILE, int (*)(FILE*)> stream(fdopen(ends[0], "r"), std::fclose);
    std::string text;
    for (int character = 0; (character = std::fgetc(stream.get())) != EOF;) {
        text += static_cast<char>(character);
    }
    return endsWell(lister) ? text : std::string();
}

/// The full names of the tests that these arguments choose.
Arguments chosenTests(const Arguments& arguments) {
    const std::string text = listing(arguments);
    Arguments names;
    std::string suite;
    for (std::size_t begin = 0; begin < text.size();) {
        const std::size_t end = std::min(text.find('\n', begin), text.size());
        const std::string line = text.substr(begin, end - begin);
        begin = end + 1;
        // A remark may follow the name.
        const std::string name = line.substr(0, line.find("  #"));
        if (name.starts_with("  ")) {
            names.push_back(suite + name.substr(2));
        } else if (name.ends_with('.')) {
            suite = name;
        }
    }
    return names;
}

/// Whether the arguments name one test in full.
bool nameOne(const Arguments& arguments) {
    return std::ranges::any_of(arguments, [](const std::string& argument) {
        return argument.starts_with(filterOption) &&
               argument.find_first_of("*?:-", filterOption.size()) == std::string::npos;
    });
}

/// Runs each test on a machine of its own, with the arguments that choose none.
int runEach(const Arguments& tests, Arguments arguments) {
    std::erase_if(arguments,
                  [](const std::string& argument) { return argument.starts_with(filterOption); });
    Arguments failed;
    for (const std::string& test : tests) {
        Arguments one = arguments;
        one.push_back(std::string(filterOption) + test);
        if (!endsWell(startChild([&] { enterMachine(one); }))) {
            failed.push_back(test);
        }
    }
    std::printf("\n%zu of %zu tests passed, each on a machine of its own.\n",
                tests.size() - failed.size(), tests.size());
    for (const std::string& test : failed) {
        std::printf("FAILED %s\n", test.c_str());
    }
    return failed.empty() ? EXIT_SUCCESS : EXIT_FAILURE;
}

}  // namespace

int main(int argc, char** argv) {
    const Arguments arguments(argv + 1, argv + argc);
    const bool onlyLists = std::ranges::find(arguments, "--gtest_list_tests") != arguments.end();
    if (!onlyLists && std::getenv(insideVariable) == nullptr) {
        const Arguments tests = nameOne(arguments) ? Arguments() : chosenTests(arguments);
        if (tests.size() > 1) {
            return runEach(tests, arguments);
        }
        enterMachine(arguments);
    }
    testing::InitGoogleTest(&argc, argv);
    return RUN_ALL_TESTS();
}
