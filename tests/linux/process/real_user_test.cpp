// Whose process it is where the effective user is another one. Only a machine of its own has both.

#include <gtest/gtest.h>
#include <unistd.h>

#include "platform/posix/process.h"
#include "tests/support/forked_copy.h"
#include "tests/support/machine/machine.h"

namespace velunor::testing {
namespace {

TEST(RealUser, IsTheOneThatIsNamed) {
    Machine machine;
    const Account account = machine.addAccount("realuser", newPassword());
    const ChildOutcome outcome = inChild([&]() -> std::string {
        const bool isBoth = setresuid(account.user, 0, 0) == 0;
        return isBoth ? LinuxProcessInfo().userName() : "not that user";
    });
    EXPECT_EQ(outcome.text, "realuser");
}

}  // namespace
}  // namespace velunor::testing
