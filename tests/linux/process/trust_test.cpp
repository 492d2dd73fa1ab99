// Which programs are trusted: those that only root and the user can have put where they are.

#include "platform/posix/trust.h"

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <filesystem>
#include <string>

#include "platform/posix/process.h"
#include "tests/support/forked_copy.h"
#include "tests/support/temporary_directory.h"

namespace velunor {
namespace {

constexpr mode_t mine = S_IRWXU;
constexpr mode_t groups = S_IRWXU | S_IRWXG;
constexpr mode_t everybodys = groups | S_IRWXO;

class Trust : public ::testing::Test {
  protected:
    Trust() {
        std::filesystem::create_directories(directory_.file("one/two"));
        directory_.write("one/two/program", "#!/bin/sh\necho started\n");
        setMode("one/two/program", mine);
        setMode("one/two", mine);
        setMode("one", mine);
    }

    void setMode(const std::string& name, mode_t mode) {
        ASSERT_EQ(chmod(file(name).c_str(), mode), 0) << name;
    }
    [[nodiscard]] std::string file(const std::string& name) const { return directory_.file(name); }
    [[nodiscard]] int ofProgram() const { return distrust(file("one/two/program")); }

  private:
    testing::TemporaryDirectory directory_;
};

TEST_F(Trust, ProgramInDirectoriesOfTheUsers) {
    EXPECT_EQ(ofProgram(), 0);
    EXPECT_EQ(distrust(file("one/../one/./two/program")), 0);
}

TEST_F(Trust, ProgramOfTheSystem) {
    EXPECT_EQ(distrust("/usr/bin/env"), 0);
    EXPECT_EQ(distrust("/bin/sh"), 0);
}

TEST_F(Trust, NothingThere) {
    EXPECT_EQ(distrust(file("one/three/program")), ENOENT);
    EXPECT_EQ(distrust(""), EPERM);
}

TEST_F(Trust, RootDirectoryIsNotJudged) {
    setMode("one", everybodys);
    const auto outcome = testing::inChild([&]() -> std::string {
        testing::enterPrivateNamespace();
        if (chroot(file("one").c_str()) != 0) {
            return "the same root directory";
        }
        return std::to_string(distrust("/two/program")) + "," +
               std::to_string(distrust("/../two/program"));
    });
    EXPECT_EQ(outcome.text, "0,0");
}

TEST_F(Trust, NoRegularFile) {
    EXPECT_EQ(distrust(file("one/two")), EPERM);
    EXPECT_EQ(distrust("/dev/null"), EPERM);
    EXPECT_EQ(distrust("/"), EPERM);
}

TEST_F(Trust, ProgramThatOthersMayChange) {
    setMode("one/two/program", groups);
    EXPECT_EQ(ofProgram(), EPERM);
    setMode("one/two/program", everybodys);
    EXPECT_EQ(ofProgram(), EPERM);
}

TEST_F(Trust, DirectoryThatOthersMayChange) {
    for (const char* name : {"one/two", "one"}) {
        for (const mode_t mode : {groups, everybodys}) {
            setMode(name, mode);
            EXPECT_EQ(ofProgram(), EPERM) << name;
        }
        setMode(name, mine);
    }
}

TEST_F(Trust, DirectoryWhoseEntriesOnlyTheirOwnersMayReplace) {
    setMode("one", everybodys | S_ISVTX);
    EXPECT_EQ(ofProgram(), 0);
}

TEST_F(Trust, LinkIsFollowedThroughTrustedDirectoriesOnly) {
    std::filesystem::create_symlink("two/program", file("one/near"));
    std::filesystem::create_symlink(file("one/near"), file("far"));
    EXPECT_EQ(distrust(file("one/near")), 0);
    EXPECT_EQ(distrust(file("far")), 0);
    // Whoever may write there could let the link lead elsewhere.
    setMode("one", everybodys);
    std::filesystem::create_directory(file("other"));
    std::filesystem::create_symlink("/usr/bin/env", file("one/env"));
    std::filesystem::create_symlink(file("one/env"), file("other/env"));
    EXPECT_EQ(distrust(file("other/env")), EPERM);
}

TEST_F(Trust, FortyLinksAreFollowedAndNoMore) {
    std::string target = file("one/two/program");
    for (int link = 1; link <= 41; ++link) {
        const std::string name = file("link" + std::to_string(link));
        std::filesystem::create_symlink(target, name);
        target = name;
    }
    EXPECT_EQ(distrust(file("link40")), 0);
    EXPECT_EQ(distrust(file("link41")), ELOOP);
}

TEST_F(Trust, LinkThatLeadsToItself) {
    std::filesystem::create_symlink("loop", file("loop"));
    EXPECT_EQ(distrust(file("loop")), ELOOP);
}

TEST_F(Trust, EnvStartsNoProgramInADirectoryThatOthersMayChange) {
    const std::string program = file("one/two/program");
    EXPECT_EQ(LinuxChildProcess().run("/usr/bin/env", std::array{program}).output, "started\n");
    setMode("one", everybodys);
    const auto result = LinuxChildProcess().run("/usr/bin/env", std::array{program});
    EXPECT_NE(result.terminationStatus, 0);
    // To other programs it is an argument like any other.
    EXPECT_EQ(LinuxChildProcess().run("/bin/cat", std::array{program}).output,
              "#!/bin/sh\necho started\n");
    EXPECT_EQ(result.output,
              "Somebody else may change the program or a directory that leads to it\n");
}

}  // namespace
}  // namespace velunor
