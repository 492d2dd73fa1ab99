// The launcher in the hands of an ordinary user.

#include "tests/e2e/credentials/credentials_test.h"

namespace velunor::testing {
namespace {

class Launching : public CredentialsTest {};

TEST_F(Launching, AnotherUserCannotBeAskedByAnOrdinaryOne) {
    constexpr Ending wrongUsage{2, 0};
    for (const std::string whom : {"root", "nobody", "ada"}) {
        SCOPED_TRACE(whom);
        std::filesystem::remove(directory() / "err");
        startProgram({reachable(LAUNCHER_PROGRAM), "prompt", "--user", whom, "--", "OSUpdate",
                      "Debian 12.9", "false", "15", "false", "2"});
        EXPECT_EQ(process().wait(), wrongUsage);
        EXPECT_EQ(systemLog(), "ostrel-agent: only root can ask another user\n");
    }
}

}  // namespace
}  // namespace velunor::testing
