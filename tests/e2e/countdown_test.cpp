// The countdown as somebody sees it, and the decision when it ends.

#include <regex>

#include "tests/support/prompt/prompt_test.h"

namespace velunor::testing {
namespace {

class Countdown : public PromptTest {
  protected:
    // The name of the showing label that begins so; empty while there is none.
    std::string labelBeginning(const std::string& beginning) {
        for (const Accessible& control : controls()) {
            if (control.showing && control.role == "label" && control.name.starts_with(beginning)) {
                return control.name;
            }
        }
        return {};
    }

    // The seconds left that the label shows; -1 while it shows none.
    int secondsShown(const std::string& pattern) {
        std::smatch parts;
        const std::string label = labelBeginning(pattern.substr(0, pattern.find('(')));
        if (!std::regex_match(label, parts, std::regex(pattern))) {
            return -1;
        }
        return std::stoi(parts[1]) * 60 + std::stoi(parts[2]);
    }
};

TEST_F(Countdown, ShowsMinutesAndSecondsOneSecondLessAtEachTick) {
    const std::string pattern = R"(Waits for (\d+) min (\d+) sec\.)";
    start({"OSUpdate", "Debian 12.9", "false", "2", "false", "2"});
    ASSERT_TRUE(waitForWindow()) << systemLog();
    ASSERT_TRUE(waitForLog("Starting with Waits for 2 min 0 sec.")) << systemLog();
    ASSERT_TRUE(eventually([&] { return secondsShown(pattern) > 0; }));
    const auto begin = std::chrono::steady_clock::now();
    const int first = secondsShown(pattern);
    EXPECT_LE(first, 120);
    int last = first;
    ASSERT_TRUE(eventually([&] {
        const int now = secondsShown(pattern);
        EXPECT_LE(now, last);
        last = now;
        return now <= first - 3;
    }));
    const auto passed = std::chrono::steady_clock::now() - begin;
    EXPECT_GE(passed, std::chrono::milliseconds(1900));
}

TEST_F(Countdown, ProceedingPromptShowsTheInstallText) {
    start({"OSUpdate", "Debian 12.9", "true", "15", "false", "2"});
    ASSERT_TRUE(waitForWindow()) << systemLog();
    EXPECT_TRUE(
        eventually([&] { return secondsShown("Installs in (\\d+) min (\\d+) sec\\.") > 800; }));
    EXPECT_NE(systemLog().find("Starting with Installs in 15 min 0 sec."), std::string::npos);
}

TEST_F(Countdown, TwoHoursShowAsMinutes) {
    start({"OSUpdate", "Debian 12.9", "false", "120", "false", "2"});
    EXPECT_TRUE(waitForLog("Starting with Waits for 120 min 0 sec.")) << systemLog();
}

TEST_F(Countdown, EndProceedsWhereThatIsTheDefault) {
    startService();
    start({"OSUpdate", "Debian 12.9", "true", "0", "true", "2"});
    EXPECT_EQ(process().wait(), (Ending{0, 0})) << systemLog();
    EXPECT_EQ(requests(),
              (std::vector<Request>{{"PatchOSUpdateNotificationStatus", R"({"proceed":{}})"}}));
    EXPECT_NE(readFile(accessLogPath()).find("\t\tproceed - NA\t\tTime ran out - Proceeding\t\t"),
              std::string::npos);
}

TEST_F(Countdown, EndPostponesOtherwise) {
    startService();
    start({"OSUpdate", "Debian 12.9", "false", "0", "false", "2"});
    EXPECT_EQ(process().wait(), (Ending{0, 0})) << systemLog();
    EXPECT_EQ(requests(),
              (std::vector<Request>{{"PatchOSUpdateNotificationStatus", R"({"postponse":{}})"}}));
    EXPECT_NE(readFile(accessLogPath()).find("\t\tpostpone - NA\t\tTime ran out - Postponing\t\t"),
              std::string::npos);
}

TEST_F(Countdown, EndPostponesACredentialsPromptWhateverItsDefault) {
    startService();
    start({"OSUpdateWithCred", "Debian 12.9", "true", "0", "false", "2"});
    EXPECT_EQ(process().wait(), (Ending{0, 0})) << systemLog();
    ASSERT_EQ(requests().size(), 1U);
    EXPECT_TRUE(requests().front().message.starts_with(R"({"postponse":{)"))
        << requests().front().message;
}

TEST_F(Countdown, ZeroMinutesWaitForTheFirstTickAndNoLonger) {
    startService();
    start({"OSUpdate", "Debian 12.9", "true", "0", "true", "2"});
    ASSERT_TRUE(waitForLog("Starting with ")) << systemLog();
    const auto begin = std::chrono::steady_clock::now();
    EXPECT_EQ(process().wait(), (Ending{0, 0})) << systemLog();
    const auto passed = std::chrono::steady_clock::now() - begin;
    EXPECT_GE(passed, std::chrono::milliseconds(900));
    // The service answers at once, so none of the ten seconds for its reply is spent.
    EXPECT_LT(passed, std::chrono::seconds(8));
}

TEST_F(Countdown, NegativeMinutesEndAtTheFirstTick) {
    startService();
    start({"OSUpdate", "Debian 12.9", "true", "-3", "true", "2"});
    EXPECT_EQ(process().wait(), (Ending{0, 0})) << systemLog();
    EXPECT_NE(readFile(accessLogPath()).find(" - -3 mins"), std::string::npos);
}

}  // namespace
}  // namespace velunor::testing
