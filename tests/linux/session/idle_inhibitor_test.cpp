#include <gtest/gtest.h>
#include <sys/resource.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstdint>
#include <cstdlib>
#include <mutex>
#include <string>
#include <vector>

#include "platform/linux/session/session.h"
#include "tests/support/bus_service.h"
#include "tests/support/doubles/recording_log.h"
#include "tests/support/forked_copy.h"
#include "tests/support/login_manager.h"
#include "tests/support/wait.h"

namespace velunor {
namespace {

using testing::BusService;
using testing::eventually;
using testing::LoginManager;
using testing::loginManagerPlace;
using testing::PrivateBus;
using testing::RecordingLog;

constexpr BusService::Place portalPlace{"org.freedesktop.portal.Desktop",
                                        "/org/freedesktop/portal/desktop",
                                        "org.freedesktop.portal.Inhibit"};

/// A desktop portal: its inhibition lasts as long as the caller stays on the bus.
class Portal {
  public:
    explicit Portal(const PrivateBus& bus) : service_(bus, portalPlace, vtable, this, [] {}) {}

    std::vector<std::string> callers() {
        const std::lock_guard guard(mutex_);
        return callers_;
    }
    /// What was asked for: window, flags, and the only option with its value, with bars between.
    std::vector<std::string> requests() {
        const std::lock_guard guard(mutex_);
        return requests_;
    }

  private:
    static int inhibit(sd_bus_message* message, void* owner, sd_bus_error* /*error*/) {
        const char* window = nullptr;
        std::uint32_t flags = 0;
        const char* option = nullptr;
        const char* value = nullptr;
        if (sd_bus_message_read(message, "sua{sv}", &window, &flags, 1, &option, "s", &value) < 0) {
            return -EINVAL;
        }
        auto& self = *static_cast<Portal*>(owner);
        const std::lock_guard guard(self.mutex_);
        self.requests_.push_back(std::string(window) + "|" + std::to_string(flags) + "|" + option +
                                 "|" + value);
        self.callers_.emplace_back(sd_bus_message_get_sender(message));
        return sd_bus_reply_method_return(message, "o", "/org/freedesktop/portal/request/1");
    }

    static const std::array<sd_bus_vtable, 3> table;
    static const sd_bus_vtable* const vtable;

    std::mutex mutex_;
    std::vector<std::string> callers_;
    std::vector<std::string> requests_;
    BusService service_;
};

const std::array<sd_bus_vtable, 3> Portal::table{
    sd_bus_vtable SD_BUS_VTABLE_START(0),
    sd_bus_vtable SD_BUS_METHOD("Inhibit", "sua{sv}", "o", Portal::inhibit,
                                SD_BUS_VTABLE_UNPRIVILEGED),
    sd_bus_vtable SD_BUS_VTABLE_END};
const sd_bus_vtable* const Portal::vtable = table.data();

/// Owns a service's name and knows none of its methods, so that each call is answered by an error.
class RefusingService {
  public:
    RefusingService(const PrivateBus& bus, const BusService::Place& place)
        : service_(bus, place, table.data(), nullptr, [] {}) {}

  private:
    static constexpr std::array<sd_bus_vtable, 2> table{sd_bus_vtable SD_BUS_VTABLE_START(0),
                                                        sd_bus_vtable SD_BUS_VTABLE_END};
    BusService service_;
};

/// A login manager that answers with a text where a lock is expected.
class WordyLoginManager {
  public:
    explicit WordyLoginManager(const PrivateBus& bus)
        : service_(bus, loginManagerPlace, table.data(), nullptr, [] {}) {}

  private:
    static int inhibit(sd_bus_message* message, void* /*owner*/, sd_bus_error* /*error*/) {
        return sd_bus_reply_method_return(message, "s", "granted");
    }

    static const std::array<sd_bus_vtable, 3> table;
    BusService service_;
};

const std::array<sd_bus_vtable, 3> WordyLoginManager::table{
    sd_bus_vtable SD_BUS_VTABLE_START(0),
    sd_bus_vtable SD_BUS_METHOD("Inhibit", "ssss", "s", WordyLoginManager::inhibit,
                                SD_BUS_VTABLE_UNPRIVILEGED),
    sd_bus_vtable SD_BUS_VTABLE_END};

class ProcessActivityTest : public ::testing::Test {
  protected:
    ProcessActivityTest() {
        setenv("DBUS_SYSTEM_BUS_ADDRESS", systemBus.address().c_str(), 1);
        setenv("DBUS_SESSION_BUS_ADDRESS", sessionBus.address().c_str(), 1);
    }

    /// An activity begins, and the portal on the session's bus is asked once.
    void expectThePortalIsAsked() {
        Portal portal(sessionBus);
        LinuxProcessActivity activity(log);
        activity.beginUserInitiated("Timer Enabled");
        EXPECT_TRUE(eventually([&] { return portal.callers().size() == 1; }));
    }

    PrivateBus systemBus;
    PrivateBus sessionBus;
    RecordingLog log;
};

TEST_F(ProcessActivityTest, HoldsTheLoginManagersIdleLockUntilItIsEnded) {
    LoginManager loginManager(systemBus);
    LinuxProcessActivity activity(log);
    const auto token = activity.beginUserInitiated("Timer Enabled");
    EXPECT_NE(token, 0U);
    ASSERT_TRUE(eventually([&] { return loginManager.grantedLocks() == 1; }));
    EXPECT_EQ(loginManager.calls(),
              std::vector<std::string>{"idle|VelunorOSUpdate|Timer Enabled|block"});
    EXPECT_EQ(loginManager.heldLocks(), 1);
    activity.end(token);
    EXPECT_TRUE(eventually([&] { return loginManager.heldLocks() == 0; }));
    EXPECT_TRUE(log.lines().empty());
}

TEST_F(ProcessActivityTest, EachActivityHasItsOwnLock) {
    LoginManager loginManager(systemBus);
    LinuxProcessActivity activity(log);
    const auto first = activity.beginUserInitiated("first");
    const auto second = activity.beginUserInitiated("second");
    EXPECT_NE(first, second);
    ASSERT_TRUE(eventually([&] { return loginManager.heldLocks() == 2; }));
    activity.end(first);
    EXPECT_TRUE(eventually([&] { return loginManager.heldLocks() == 1; }));
    activity.end(second);
    EXPECT_TRUE(eventually([&] { return loginManager.heldLocks() == 0; }));
}

TEST_F(ProcessActivityTest, UnknownTokenIsPassedOver) {
    LoginManager loginManager(systemBus);
    LinuxProcessActivity activity(log);
    const auto token = activity.beginUserInitiated("Timer Enabled");
    ASSERT_TRUE(eventually([&] { return loginManager.heldLocks() == 1; }));
    activity.end(token + 1);
    activity.end(0);
    EXPECT_EQ(loginManager.heldLocks(), 1);
}

TEST_F(ProcessActivityTest, BeginDoesNotWaitForTheAnswer) {
    LoginManager loginManager(systemBus, false);
    LinuxProcessActivity activity(log);
    activity.beginUserInitiated("Timer Enabled");
    // The answer is given only after begin has returned.
    loginManager.beginAnswering();
    EXPECT_TRUE(eventually([&] { return loginManager.heldLocks() == 1; }));
}

TEST_F(ProcessActivityTest, LockThatIsGrantedAfterTheEndIsGivenBack) {
    LoginManager loginManager(systemBus, false);
    LinuxProcessActivity activity(log);
    const auto token = activity.beginUserInitiated("Timer Enabled");
    ASSERT_TRUE(eventually([&] { return !loginManager.calls().empty(); }));
    activity.end(token);
    loginManager.beginAnswering();
    ASSERT_TRUE(eventually([&] { return loginManager.grantedLocks() == 1; }));
    EXPECT_TRUE(eventually([&] { return loginManager.heldLocks() == 0; }));
}

TEST_F(ProcessActivityTest, AsksThePortalWhereThereIsNoLoginManager) {
    Portal portal(sessionBus);
    LinuxProcessActivity activity(log);
    const auto token = activity.beginUserInitiated("Timer Enabled");
    ASSERT_TRUE(eventually([&] { return portal.callers().size() == 1; }));
    // Without a window of its own; 8 stands for idling.
    EXPECT_EQ(portal.requests(), std::vector<std::string>{"|8|reason|Timer Enabled"});
    const std::string caller = portal.callers().front();
    EXPECT_TRUE(sessionBus.hasName(caller));
    activity.end(token);
    EXPECT_TRUE(eventually([&] { return !sessionBus.hasName(caller); }));
    EXPECT_TRUE(log.lines().empty());
}

TEST_F(ProcessActivityTest, AsksThePortalWhereTheLoginManagerIsSilent) {
    LoginManager loginManager(systemBus, false);
    expectThePortalIsAsked();
    EXPECT_EQ(loginManager.calls().size(), 1U);
}

TEST_F(ProcessActivityTest, AsksThePortalWhereTheLoginManagerRefuses) {
    const RefusingService loginManager(systemBus, loginManagerPlace);
    expectThePortalIsAsked();
    EXPECT_TRUE(log.lines().empty());
}

TEST_F(ProcessActivityTest, AsksThePortalWhereTheLoginManagersAnswerHoldsNoLock) {
    const WordyLoginManager loginManager(systemBus);
    expectThePortalIsAsked();
    EXPECT_TRUE(log.lines().empty());
}

TEST_F(ProcessActivityTest, PortalIsLeftAloneWhereTheLoginManagerGrantsTheLock) {
    LoginManager loginManager(systemBus);
    Portal portal(sessionBus);
    LinuxProcessActivity activity(log);
    const auto token = activity.beginUserInitiated("Timer Enabled");
    ASSERT_TRUE(eventually([&] { return loginManager.heldLocks() == 1; }));
    activity.end(token);
    // The lock goes with its thread, which would have asked before.
    ASSERT_TRUE(eventually([&] { return loginManager.heldLocks() == 0; }));
    EXPECT_TRUE(portal.callers().empty());
}

TEST_F(ProcessActivityTest, RefusalsOfBothAreOneLogLine) {
    const RefusingService loginManager(systemBus, loginManagerPlace);
    const RefusingService portal(sessionBus, portalPlace);
    LinuxProcessActivity activity(log);
    activity.beginUserInitiated("Timer Enabled");
    ASSERT_TRUE(eventually([&] { return !log.lines().empty(); }));
    EXPECT_EQ(log.lines(), std::vector<std::string>{"No idle inhibitor available"});
}

TEST_F(ProcessActivityTest, NobodyWhoAnswersIsOneLogLine) {
    LinuxProcessActivity activity(log);
    const auto token = activity.beginUserInitiated("Timer Enabled");
    ASSERT_TRUE(eventually([&] { return !log.lines().empty(); }));
    EXPECT_EQ(log.lines(), std::vector<std::string>{"No idle inhibitor available"});
    activity.end(token);
}

TEST_F(ProcessActivityTest, MissingBusesAreOneLogLine) {
    setenv("DBUS_SYSTEM_BUS_ADDRESS", "unix:path=/nonexistent/system", 1);
    setenv("DBUS_SESSION_BUS_ADDRESS", "unix:path=/nonexistent/session", 1);
    LinuxProcessActivity activity(log);
    activity.beginUserInitiated("Timer Enabled");
    ASSERT_TRUE(eventually([&] { return !log.lines().empty(); }));
    EXPECT_EQ(log.lines(), std::vector<std::string>{"No idle inhibitor available"});
}

TEST(ProcessActivityWithoutThreads, IsOneLogLine) {
    const auto outcome = testing::inChild([]() -> std::string {
        constexpr uid_t nobody = 65534;
        const rlimit none{0, 0};
        if ((geteuid() == 0 && setresuid(nobody, nobody, nobody) != 0) ||
            setrlimit(RLIMIT_NPROC, &none) != 0) {
            return "not that user";
        }
        RecordingLog log;
        LinuxProcessActivity activity(log);
        activity.end(activity.beginUserInitiated("Timer Enabled"));
        return log.lines().size() == 1 ? log.lines().front() : "another number of lines";
    });
    EXPECT_EQ(outcome.text, "No idle inhibitor available");
}

}  // namespace
}  // namespace velunor
