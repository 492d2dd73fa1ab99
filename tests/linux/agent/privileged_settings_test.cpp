// The settings of a program that runs with more rights than the user who starts it. Only a machine
// of its own can have such a file.

#include <gtest/gtest.h>
#include <sys/stat.h>

#include <filesystem>
#include <string>

#include "tests/support/child_process.h"
#include "tests/support/files.h"
#include "tests/support/machine/machine.h"

namespace velunor::testing {
namespace {

constexpr mode_t everybody = S_IRWXU | S_IRGRP | S_IXGRP | S_IROTH | S_IXOTH;

std::string settingsNamed(const std::string& product) {
    return "[agent]\nproduct_name = \"" + product +
           "\"\nbase_path = \"/b\"\ndata_path = \"/d\"\nlog_path = \"/l\"\n";
}

/// Which settings a program of root's with these rights reads for a user who names other ones.
std::string settingsReadBy(mode_t mode) {
    Machine machine;
    const Account account = machine.addAccount("caller", newPassword());
    std::filesystem::create_directories("/etc/velunor");
    writeFile("/etc/velunor/ostrel-agent.toml", settingsNamed("of the machine"));
    const std::filesystem::path directory = placeOfPrograms();
    const std::string program = directory / "probe";
    std::filesystem::copy_file(SETTINGS_PROBE_PROGRAM, program);
    chmod(program.c_str(), mode);
    const std::string settings = directory / "other.toml";
    writeFile(settings, settingsNamed("of the caller"));
    const std::string output = directory / "output";
    writeFile(output, "");
    chmod(output.c_str(), S_IRWXU | S_IRWXG | S_IRWXO);
    const ActingAs acting(account);
    ChildProcess probe(Command{.arguments = {program},
                               .environment = {{"VELUNOR_AGENT_SETTINGS", settings}},
                               .output = output});
    EXPECT_EQ(probe.wait(), (Ending{0, 0}));
    return readFile(output);
}

TEST(PrivilegedSettings, OrdinaryProgramFollowsTheVariable) {
    EXPECT_EQ(settingsReadBy(everybody), "of the caller\n");
}

TEST(PrivilegedSettings, SetUserIdProgramDoesNotFollowTheVariable) {
    EXPECT_EQ(settingsReadBy(everybody | S_ISUID), "of the machine\n");
}

TEST(PrivilegedSettings, SetGroupIdProgramDoesNotFollowTheVariable) {
    EXPECT_EQ(settingsReadBy(everybody | S_ISGID), "of the machine\n");
}

}  // namespace
}  // namespace velunor::testing
