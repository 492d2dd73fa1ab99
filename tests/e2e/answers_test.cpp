// Answers by the pointer, and what they leave behind: the message, the access log, the status.

#include <sys/stat.h>

#include <regex>

#include "tests/support/prompt/prompt_test.h"

namespace velunor::testing {
namespace {

constexpr const char* stamp = R"(\d{4}-\d{2}-\d{2} \d{2}:\d{2}:\d{2})";

class Answers : public PromptTest {
  protected:
    // Starts a prompt and clicks one of its buttons.
    void answer(const std::vector<std::string>& arguments, const std::string& button,
                mode_t umask = 022) {
        start(arguments, umask);
        ASSERT_TRUE(waitForWindow()) << systemLog();
        ASSERT_TRUE(clickButton(button)) << systemLog();
        ASSERT_EQ(process().wait(), (Ending{0, 0})) << systemLog();
    }

    [[nodiscard]] mode_t accessLogMode() const {
        struct stat status {};
        EXPECT_EQ(::stat(accessLogPath().c_str(), &status), 0);
        return status.st_mode & 07777;
    }
};

TEST_F(Answers, UpdateNowDeliversProceedWithoutCredentials) {
    startService();
    answer(patientPrompt(), "Go ahead");
    EXPECT_EQ(requests(),
              (std::vector<Request>{{"PatchOSUpdateNotificationStatus", R"({"proceed":{}})"}}));
    EXPECT_NE(systemLog().find("Reply Received status noted"), std::string::npos) << systemLog();
}

TEST_F(Answers, PostponeDeliversPostponementThatNamesNobody) {
    startService();
    answer(patientPrompt(), "Later");
    EXPECT_EQ(requests(),
              (std::vector<Request>{{"PatchOSUpdateNotificationStatus", R"({"postponse":{}})"}}));
    EXPECT_NE(systemLog().find("User Clicked Postpone now - Disabled user --"), std::string::npos)
        << systemLog();
}

TEST_F(Answers, AccessLogHoldsOneLinePerPromptByteForByte) {
    startService();
    answer(patientPrompt(), "Go ahead");
    answer(patientPrompt(), "Later");
    const std::string prefix = std::string("\n") + stamp + "\t\tOSUpdate\t\t[^\t\n]+\t\t" +
                               "Without Credentials - false - Debian 12\\.9 - 15 mins\t\t";
    const std::regex expected(prefix + "proceed - NA\t\tUpdate Now Clicked\t\t" + stamp + prefix +
                              "postpone - NA\t\tPostpone Clicked\t\t" + stamp);
    EXPECT_TRUE(std::regex_match(readFile(accessLogPath()), expected)) << readFile(accessLogPath());
}

TEST_F(Answers, AccessLogIsMadeForEverybodyWhateverTheUmask) {
    startService();
    answer(patientPrompt(), "Later", 077);
    EXPECT_EQ(accessLogMode(), 0666U);
    EXPECT_NE(systemLog().find("Log file created at " + accessLogPath().string()),
              std::string::npos);
    EXPECT_NE(systemLog().find("Permissions set to 0666"), std::string::npos);
}

TEST_F(Answers, AccessLogThatIsThereKeepsItsModeAndContent) {
    startService();
    writeFile(accessLogPath(), "before");
    ASSERT_EQ(::chmod(accessLogPath().c_str(), 0640), 0);
    answer(patientPrompt(), "Later");
    EXPECT_EQ(accessLogMode(), 0640U);
    EXPECT_TRUE(readFile(accessLogPath()).starts_with("before\n"));
    EXPECT_NE(systemLog().find("Log file already exists at " + accessLogPath().string()),
              std::string::npos);
}

TEST_F(Answers, MissingLogDirectoryDoesNotStopThePrompt) {
    startService();
    std::filesystem::remove_all(accessLogPath().parent_path());
    answer(patientPrompt(), "Go ahead");
    EXPECT_EQ(requests().size(), 1U);
    EXPECT_NE(systemLog().find("Failed to create log file at " + accessLogPath().string()),
              std::string::npos)
        << systemLog();
    EXPECT_FALSE(std::filesystem::exists(accessLogPath().parent_path()));
}

TEST_F(Answers, PromptThatMayNotBePostponedShowsNoSuchButton) {
    start({"OSUpdate", "Debian 12.9", "true", "15", "true", "2"});
    ASSERT_TRUE(waitForControl("push button", "Go ahead")) << systemLog();
    EXPECT_FALSE(findControl(controls(), "push button", "Later"));
    EXPECT_TRUE(waitForControl("label", "2 tries left"));
}

TEST_F(Answers, NoButtonHoldsTheFocusWhenTheWindowOpens) {
    start(patientPrompt());
    ASSERT_TRUE(waitForControl("push button", "Go ahead")) << systemLog();
    for (const Accessible& control : controls()) {
        EXPECT_FALSE(control.role == "push button" && control.focused) << control.name;
    }
}

TEST_F(Answers, ReturnAndSpaceTypedElsewhereAnswerNothing) {
    start(patientPrompt());
    const std::optional<WindowId> window = waitForWindow();
    ASSERT_TRUE(window) << systemLog();
    display().screen().pressKey("Return");
    display().screen().pressKey("space");
    ASSERT_TRUE(waitForLog("Dock bounce (critical) triggered at ")) << systemLog();
    EXPECT_TRUE(process().isRunning());
    EXPECT_EQ(systemLog().find("Update Now Clicked"), std::string::npos);
    EXPECT_EQ(systemLog().find("User Clicked Postpone now"), std::string::npos);
}

}  // namespace
}  // namespace velunor::testing
