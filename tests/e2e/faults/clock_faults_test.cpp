// A wall clock that is set, a time zone that changes and a machine that sleeps while the countdown
// runs: it counts its own ticks, and nothing else.

#include <gmock/gmock.h>

#include <csignal>

#include "tests/e2e/faults/fault_test.h"

namespace velunor::testing {
namespace {

using std::chrono::milliseconds;
using std::chrono::steady_clock;

// A countdown of ten minutes by seconds of which fifty go into one.
constexpr const char* minutes = "10";
constexpr milliseconds length{12000};

class ClockFault : public FaultTest {
  protected:
    /// Sets the clock that the prompt sees, by an offset such as "+2d".
    void setClock(const std::string& offset) const {
        writeFile(directory() / "clock.new", offset + "\n");
        std::filesystem::rename(directory() / "clock.new", clockFile());
    }
    [[nodiscard]] std::filesystem::path clockFile() const { return directory() / "clock"; }

    /// Starts a prompt whose wall clock can be set, enters a password and sees the countdown run.
    void startCountdown() {
        setClock("+0");
        environment()["LD_PRELOAD"] = "/usr/$LIB/faketime/libfaketimeMT.so.1";
        environment()["FAKETIME_TIMESTAMP_FILE"] = clockFile();
        environment()["FAKETIME_NO_CACHE"] = "1";
        environment()["NO_FAKE_STAT"] = "1";
        environment()["FAKETIME_DONT_FAKE_MONOTONIC"] = "1";
        startServiceProcess("answer");
        noteBefore();
        begin_ = steady_clock::now();
        startPromptOf(QUICK_PROMPT_PROGRAM, minutes);
        enterPassword();
        ASSERT_GT(secondsShown(), 0);
    }

    /// The countdown ends by its own length, and `pause` of the time did not count.
    void expectEndInTime(milliseconds pause = {}) {
        expectEnd({0, 0});
        EXPECT_GE(steady_clock::now() - begin_, length + pause);
        EXPECT_EQ(serviceProcess().messages(), std::vector<std::string>{R"({"postponse":{}})"});
        EXPECT_EQ(accessLog().starts, 1U);
        EXPECT_EQ(accessLog().ends, 1U);
    }

    /// The day of the first or the last stamp of the access log.
    [[nodiscard]] std::string firstStamp() const { return readFile(accessLogPath()).substr(1, 19); }
    [[nodiscard]] std::string lastStamp() const {
        const std::string log = readFile(accessLogPath());
        return log.substr(log.size() - 19);
    }

  private:
    steady_clock::time_point begin_;
};

class ClockThatIsSet : public ClockFault, public ::testing::WithParamInterface<const char*> {};

TEST_P(ClockThatIsSet, NeitherShortensNorLengthensTheCountdown) {
    startCountdown();
    setClock(GetParam());
    expectEndInTime();
    // It was set indeed.
    EXPECT_NE(firstStamp().substr(0, 10), lastStamp().substr(0, 10));
    EXPECT_EQ(lastStamp() > firstStamp(), *GetParam() == '+');
}

INSTANTIATE_TEST_SUITE_P(Days, ClockThatIsSet, ::testing::Values("+3d", "-3d"),
                         [](const auto& test) {
                             return std::string(*test.param == '+' ? "Forwards" : "Backwards");
                         });

TEST_F(ClockFault, ZoneThatChangesInTheCountdownLeavesItAlone) {
    environment().erase("TZ");
    const auto useZone = [](const std::string& zone) {
        const AsRoot root;
        std::filesystem::remove("/etc/localtime");
        std::filesystem::create_symlink("/usr/share/zoneinfo/" + zone, "/etc/localtime");
    };
    useZone("Etc/GMT+12");
    startCountdown();
    useZone("Etc/GMT-14");
    expectEndInTime();
    // It changed indeed, by 26 hours.
    EXPECT_GT(lastStamp().substr(0, 10), firstStamp().substr(0, 10));
}

TEST_F(ClockFault, SleepInTheCountdownDoesNotCount) {
    constexpr milliseconds sleep{3000};
    startCountdown();
    process().sendSignal(SIGSTOP);
    const auto begin = steady_clock::now();
    ASSERT_TRUE(eventually([&] { return steady_clock::now() - begin >= sleep; }));
    process().sendSignal(SIGCONT);
    expectEndInTime(sleep);
}

}  // namespace
}  // namespace velunor::testing
