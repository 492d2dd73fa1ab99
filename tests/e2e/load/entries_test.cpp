// Entries that many processes append to one access log at the same moment.

#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdlib>
#include <map>
#include <sstream>
#include <string>
#include <vector>

#include "agent/ltarnutils.h"
#include "tests/support/files.h"
#include "tests/support/temporary_directory.h"

namespace velunor::testing {
namespace {

TEST(EntryLoad, EntriesOfManyProcessesAtOnceStayWhole) {
    constexpr std::size_t length = 120;
    constexpr int entries = 2000;
    const std::string writers = "abcdef";
    const TemporaryDirectory directory;
    const std::string log = directory.file("log");
    directory.write("log", "");
    std::vector<pid_t> processes;
    for (const char writer : writers) {
        processes.push_back(fork());
        if (processes.back() == 0) {
            const std::string entry = "\n" + std::string(length, writer);
            for (int count = 0; count < entries; ++count) {
                UtilsWrapper().printAccessToFile(log, entry);
            }
            _exit(EXIT_SUCCESS);
        }
    }
    for (const pid_t process : processes) {
        int status = 0;
        EXPECT_EQ(waitpid(process, &status, 0), process);
        EXPECT_EQ(status, 0);
    }
    std::map<std::string, int> found;
    std::istringstream lines(readFile(log));
    std::string line;
    for (std::getline(lines, line); std::getline(lines, line);) {
        ++found[line];
    }
    std::map<std::string, int> expected;
    for (const char writer : writers) {
        expected[std::string(length, writer)] = entries;
    }
    EXPECT_TRUE(found == expected) << found.size() << " kinds of lines";
}

}  // namespace
}  // namespace velunor::testing
