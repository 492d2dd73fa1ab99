#include "prompt/access_log.h"

#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <ctime>
#include <functional>

#include "tests/support/doubles/agent_recording.h"
#include "tests/support/doubles/fakes.h"
#include "tests/support/doubles/recording_log.h"
#include "tests/support/temporary_directory.h"

namespace {

/// Takes the place of a change of a file's mode: its path, and errno's number or 0 as the answer.
std::function<int(const std::string&)> modeChange;

}  // namespace

// The standard library changes a file's mode by this.
extern "C" [[gnu::visibility("default")]] int fchmodat(int directory, const char* path, mode_t mode,
                                                       int /*flags*/) noexcept {
    if (modeChange) {
        errno = modeChange(path);
        if (errno != 0) {
            return -1;
        }
    }
    return static_cast<int>(syscall(SYS_fchmodat, directory, path, mode));
}

namespace velunor::testing {
namespace {

using ::testing::ElementsAre;

/// The mode bits of a file.
unsigned modeOf(const std::string& path) {
    struct stat status {};
    return stat(path.c_str(), &status) == 0 ? status.st_mode & 07777U : 0;
}

class AccessLogTest : public ::testing::Test {
  protected:
    AccessLogTest() {
        resetAgent();
        setTimeZone("UTC0");
    }
    void TearDown() override {
        umask(022);
        modeChange = nullptr;
    }

    /// Everything in the log's directory.
    [[nodiscard]] std::vector<std::string> files() const {
        std::vector<std::string> names;
        for (const auto& entry : std::filesystem::directory_iterator(directory.path())) {
            names.push_back(entry.path().filename());
        }
        return names;
    }

    static void setTimeZone(const char* zone) {
        setenv("TZ", zone, 1);
        tzset();
    }

    TemporaryDirectory directory;
    std::string path = directory.file("rebootaccess.log");
    FakeProcessInfo processInfo;
    FixedClock clock;
    RecordingLog log;
    AccessLog accessLog{path, processInfo, clock, log};
};

TEST_F(AccessLogTest, FirstRunCreatesTheFileForAllUsers) {
    OSUpdateUtil::createLogFileIfNeeded(path, log);
    EXPECT_THAT(log.lines(), ElementsAre("Log file created at " + path, "Permissions set to 0666"));
    EXPECT_EQ(modeOf(path), 0666U);
    EXPECT_EQ(directory.read("rebootaccess.log"), "");
}

TEST_F(AccessLogTest, StartingEntryMakesTheFileFirst) {
    accessLog.printStartingEntry({});
    EXPECT_THAT(log.lines(), ElementsAre("Log file created at " + path, "Permissions set to 0666"));
    EXPECT_EQ(agent().entries.size(), 1U);
}

TEST_F(AccessLogTest, LeavesNoDescriptorOpen) {
    const auto descriptors = [] {
        return std::ranges::distance(std::filesystem::directory_iterator("/proc/self/fd"));
    };
    const auto before = descriptors();
    OSUpdateUtil::createLogFileIfNeeded(path, log);
    EXPECT_EQ(descriptors(), before);
}

TEST_F(AccessLogTest, StrictUmaskDoesNotLowerTheMode) {
    umask(077);
    OSUpdateUtil::createLogFileIfNeeded(path, log);
    EXPECT_EQ(modeOf(path), 0666U);
}

TEST_F(AccessLogTest, IsNotThereBeforeItHasItsMode) {
    bool wasThere = false;
    modeChange = [&](const std::string& /*path*/) {
        wasThere = std::filesystem::exists(path);
        return 0;
    };
    OSUpdateUtil::createLogFileIfNeeded(path, log);
    EXPECT_FALSE(wasThere);
    EXPECT_EQ(modeOf(path), 0666U);
    EXPECT_THAT(files(), ElementsAre("rebootaccess.log"));
}

TEST_F(AccessLogTest, ModeThatCannotBeSetIsALogLineAndTheFileIsThere) {
    modeChange = [](const std::string& /*path*/) { return EPERM; };
    OSUpdateUtil::createLogFileIfNeeded(path, log);
    EXPECT_THAT(log.lines(), ElementsAre("Log file created at " + path,
                                         "Failed to set permissions: Operation not permitted"));
    EXPECT_THAT(files(), ElementsAre("rebootaccess.log"));
}

TEST_F(AccessLogTest, FileThatAnotherPromptMakesMeanwhileIsLeftAlone) {
    modeChange = [this](const std::string& changed) {
        if (changed != path) {
            directory.write("rebootaccess.log", "of another");
        }
        return 0;
    };
    OSUpdateUtil::createLogFileIfNeeded(path, log);
    EXPECT_THAT(log.lines(), ElementsAre("Failed to create log file at " + path));
    EXPECT_EQ(directory.read("rebootaccess.log"), "of another");
    EXPECT_THAT(files(), ElementsAre("rebootaccess.log"));
}

TEST_F(AccessLogTest, LaterRunsFindTheFileAndKeepItsModeAndContent) {
    directory.write("rebootaccess.log", "old");
    ASSERT_EQ(chmod(path.c_str(), 0640), 0);
    OSUpdateUtil::createLogFileIfNeeded(path, log);
    EXPECT_THAT(log.lines(), ElementsAre("Log file already exists at " + path));
    EXPECT_EQ(modeOf(path), 0640U);
    EXPECT_EQ(directory.read("rebootaccess.log"), "old");
}

TEST_F(AccessLogTest, MissingDirectoryIsNotMade) {
    const std::string inside = directory.file("UserLogs/rebootaccess.log");
    OSUpdateUtil::createLogFileIfNeeded(inside, log);
    EXPECT_THAT(log.lines(), ElementsAre("Failed to create log file at " + inside));
    EXPECT_FALSE(std::filesystem::exists(directory.file("UserLogs")));
}

TEST_F(AccessLogTest, PlantedLinkIsNotFollowed) {
    std::filesystem::create_symlink(directory.file("elsewhere"), path);
    OSUpdateUtil::createLogFileIfNeeded(path, log);
    EXPECT_THAT(log.lines(), ElementsAre("Failed to create log file at " + path));
    EXPECT_FALSE(std::filesystem::exists(directory.file("elsewhere")));
}

TEST_F(AccessLogTest, StartingEntryBeginsALineWithFourFields) {
    accessLog.printStartingEntry(
        {UpdateType::withCredentials, "macOS Sonoma 14.5", true, 15, false, 2});
    ASSERT_EQ(agent().entries.size(), 1U);
    EXPECT_EQ(agent().entries[0].first, path);
    EXPECT_EQ(agent().entries[0].second,
              "\n2024-05-02 12:03:11\t\tOSUpdate\t\talice\t\tWith Credentials - true - macOS "
              "Sonoma 14.5 - 15 mins");
}

TEST_F(AccessLogTest, EmptyNameLeavesTwoBlanksSideBySide) {
    accessLog.printStartingEntry({UpdateType::withoutCredentials, "", false, 15, true, -1});
    EXPECT_EQ(agent().entries[0].second,
              "\n2024-05-02 12:03:11\t\tOSUpdate\t\talice\t\tWithout Credentials - false -  - 15 "
              "mins");
}

TEST_F(AccessLogTest, NegativeTimerIsWrittenAsItIs) {
    accessLog.printStartingEntry({UpdateType::withoutCredentials, "n", false, -3, true, -1});
    EXPECT_THAT(agent().entries[0].second, ::testing::EndsWith(" - -3 mins"));
}

TEST_F(AccessLogTest, UserIsReadAfresh) {
    processInfo.user = "bob";
    accessLog.printStartingEntry({});
    EXPECT_THAT(agent().entries[0].second, ::testing::HasSubstr("\t\tbob\t\t"));
}

TEST_F(AccessLogTest, EndingEntryContinuesTheLine) {
    accessLog.printEndingEntry({Postponse{}}, "Postpone Clicked");
    EXPECT_EQ(agent().entries[0].second,
              "\t\tpostpone - NA\t\tPostpone Clicked\t\t2024-05-02 12:03:11");
    EXPECT_EQ(agent().entries[0].first, path);
}

TEST_F(AccessLogTest, EndingEntryNeitherChecksNorCreatesTheFile) {
    accessLog.printEndingEntry({Proceed{"alice", std::nullopt}}, "Update Now Clicked");
    EXPECT_THAT(log.lines(), ::testing::IsEmpty());
    EXPECT_FALSE(std::filesystem::exists(path));
}

TEST_F(AccessLogTest, TimeIsLocalWithSummerTime) {
    setTimeZone("CET-1CEST,M3.5.0,M10.5.0/3");
    EXPECT_EQ(OSUpdateUtil::getLocalDateTimeString(clock), "2024-05-02 14:03:11");
    clock.moment = std::chrono::system_clock::time_point(std::chrono::seconds(1704110400));
    EXPECT_EQ(OSUpdateUtil::getLocalDateTimeString(clock), "2024-01-01 13:00:00");
}

TEST_F(AccessLogTest, TimeFollowsAChangeOfZoneWhileThePromptIsShown) {
    EXPECT_EQ(OSUpdateUtil::getLocalDateTimeString(clock), "2024-05-02 12:03:11");
    setenv("TZ", "EAST-3", 1);
    EXPECT_EQ(OSUpdateUtil::getLocalDateTimeString(clock), "2024-05-02 15:03:11");
}

TEST_F(AccessLogTest, TimeHasNoFractionAndATwentyFourHourClock) {
    clock.moment += std::chrono::hours(11) + std::chrono::milliseconds(999);
    EXPECT_EQ(OSUpdateUtil::getLocalDateTimeString(clock), "2024-05-02 23:03:11");
}

}  // namespace
}  // namespace velunor::testing
