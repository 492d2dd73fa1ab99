// The lock that keeps the computer awake while the prompt counts.

#include <csignal>

#include "tests/support/login_manager.h"
#include "tests/support/prompt/prompt_test.h"

namespace velunor::testing {
namespace {

class IdleLock : public PromptTest {
  protected:
    IdleLock() { environment()["DBUS_SYSTEM_BUS_ADDRESS"] = systemBus_.address(); }

    [[nodiscard]] std::filesystem::path stopped() const { return directory() / "stopped"; }

    /// Starts a prompt that is stopped at its end; whether it has its lock then.
    bool startWithLock() {
        startService();
        std::vector<std::string> command{STOP_AT_EXIT_PROGRAM, stopped(), PROMPT_PROGRAM};
        const std::vector<std::string> arguments = patientPrompt();
        command.insert(command.end(), arguments.begin(), arguments.end());
        startProgram(command);
        return eventually([this] { return loginManager_.heldLocks() == 1; }) &&
               waitForLog("Starting with ");
    }

    LoginManager& loginManager() { return loginManager_; }

  private:
    PrivateBus systemBus_;
    LoginManager loginManager_{systemBus_};
};

TEST_F(IdleLock, IsGivenBackByATerminationBeforeTheProcessEnds) {
    ASSERT_TRUE(startWithLock()) << systemLog();
    EXPECT_EQ(loginManager().calls(),
              std::vector<std::string>{"idle|VelunorOSUpdate|Timer Enabled|block"});
    process().sendSignal(SIGTERM);
    ASSERT_TRUE(eventually([this] { return std::filesystem::exists(stopped()); })) << systemLog();
    EXPECT_EQ(loginManager().heldLocks(), 0);
    std::filesystem::remove(stopped());
    EXPECT_EQ(process().wait(), (Ending{0, 0})) << systemLog();
}

}  // namespace
}  // namespace velunor::testing
