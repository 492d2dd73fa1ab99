#include "platform/linux/session/idle_inhibitor.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <array>
#include <cstdlib>
#include <mutex>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "tests/linux/session/bus_service.h"
#include "tests/support/doubles/recording_log.h"
#include "tests/support/wait.h"

namespace velunor {
namespace {

using testing::BusService;
using testing::eventually;
using testing::PrivateBus;
using testing::RecordingLog;

constexpr BusService::Place loginManagerPlace{"org.freedesktop.login1", "/org/freedesktop/login1",
                                              "org.freedesktop.login1.Manager"};
constexpr BusService::Place portalPlace{"org.freedesktop.portal.Desktop",
                                        "/org/freedesktop/portal/desktop",
                                        "org.freedesktop.portal.Inhibit"};

/// A login manager that grants inhibitor locks the way the real one does: as one end of a pipe
/// whose other end it watches.
class LoginManager {
  public:
    explicit LoginManager(const PrivateBus& bus, bool answers = true)
        : answers_(answers), service_(std::in_place, bus, loginManagerPlace, vtable, this, [this] {
              answerPending();
          }) {}
    LoginManager(const LoginManager&) = delete;
    LoginManager& operator=(const LoginManager&) = delete;
    ~LoginManager() {
        service_.reset();
        for (sd_bus_message* message : pending_) {
            sd_bus_message_unref(message);
        }
        for (const int end : watched_) {
            close(end);
        }
    }

    /// Answers all calls from now on, those that wait included.
    void beginAnswering() {
        const std::lock_guard guard(mutex_);
        answers_ = true;
    }

    std::vector<std::string> calls() {
        const std::lock_guard guard(mutex_);
        return calls_;
    }

    /// Locks that were granted and are not given back.
    int heldLocks() {
        const std::lock_guard guard(mutex_);
        int held = 0;
        for (const int end : watched_) {
            pollfd state{end, POLLIN, 0};
            held += poll(&state, 1, 0) == 0 ? 1 : 0;
        }
        return held;
    }

    std::size_t grantedLocks() {
        const std::lock_guard guard(mutex_);
        return watched_.size();
    }

  private:
    static int inhibit(sd_bus_message* message, void* owner, sd_bus_error* /*error*/) {
        const char* what = nullptr;
        const char* who = nullptr;
        const char* why = nullptr;
        const char* mode = nullptr;
        sd_bus_message_read(message, "ssss", &what, &who, &why, &mode);
        auto& self = *static_cast<LoginManager*>(owner);
        const std::lock_guard guard(self.mutex_);
        self.calls_.push_back(std::string(what) + "|" + who + "|" + why + "|" + mode);
        self.pending_.push_back(sd_bus_message_ref(message));
        return 1;
    }

    void answerPending() {
        const std::lock_guard guard(mutex_);
        if (!answers_) {
            return;
        }
        for (sd_bus_message* message : pending_) {
            std::array<int, 2> ends{};
            EXPECT_EQ(pipe2(ends.data(), O_CLOEXEC), 0);
            sd_bus_reply_method_return(message, "h", ends[1]);
            sd_bus_message_unref(message);
            close(ends[1]);
            watched_.push_back(ends[0]);
        }
        pending_.clear();
    }

    static const std::array<sd_bus_vtable, 3> table;
    static const sd_bus_vtable* const vtable;

    std::mutex mutex_;
    bool answers_;
    std::vector<std::string> calls_;
    std::vector<sd_bus_message*> pending_;
    std::vector<int> watched_;
    std::optional<BusService> service_;
};

const std::array<sd_bus_vtable, 3> LoginManager::table{
    sd_bus_vtable SD_BUS_VTABLE_START(0),
    sd_bus_vtable SD_BUS_METHOD("Inhibit", "ssss", "h", LoginManager::inhibit,
                                SD_BUS_VTABLE_UNPRIVILEGED),
    sd_bus_vtable SD_BUS_VTABLE_END};
const sd_bus_vtable* const LoginManager::vtable = table.data();

/// A desktop portal: its inhibition lasts as long as the caller stays on the bus.
class Portal {
  public:
    explicit Portal(const PrivateBus& bus) : service_(bus, portalPlace, vtable, this, [] {}) {}

    std::vector<std::string> callers() {
        const std::lock_guard guard(mutex_);
        return callers_;
    }
    std::uint32_t flags() {
        const std::lock_guard guard(mutex_);
        return flags_;
    }

  private:
    static int inhibit(sd_bus_message* message, void* owner, sd_bus_error* /*error*/) {
        const char* window = nullptr;
        auto& self = *static_cast<Portal*>(owner);
        const std::lock_guard guard(self.mutex_);
        sd_bus_message_read(message, "su", &window, &self.flags_);
        self.callers_.emplace_back(sd_bus_message_get_sender(message));
        return sd_bus_reply_method_return(message, "o", "/org/freedesktop/portal/request/1");
    }

    static const std::array<sd_bus_vtable, 3> table;
    static const sd_bus_vtable* const vtable;

    std::mutex mutex_;
    std::vector<std::string> callers_;
    std::uint32_t flags_ = 0;
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

class ProcessActivityTest : public ::testing::Test {
  protected:
    ProcessActivityTest() {
        setenv("DBUS_SYSTEM_BUS_ADDRESS", systemBus.address().c_str(), 1);
        setenv("DBUS_SESSION_BUS_ADDRESS", sessionBus.address().c_str(), 1);
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
    constexpr std::uint32_t idle = 8;
    EXPECT_EQ(portal.flags(), idle);
    const std::string caller = portal.callers().front();
    EXPECT_TRUE(sessionBus.hasName(caller));
    activity.end(token);
    EXPECT_TRUE(eventually([&] { return !sessionBus.hasName(caller); }));
    EXPECT_TRUE(log.lines().empty());
}

TEST_F(ProcessActivityTest, AsksThePortalWhereTheLoginManagerIsSilent) {
    LoginManager loginManager(systemBus, false);
    Portal portal(sessionBus);
    LinuxProcessActivity activity(log);
    activity.beginUserInitiated("Timer Enabled");
    EXPECT_TRUE(eventually([&] { return portal.callers().size() == 1; }));
    EXPECT_EQ(loginManager.calls().size(), 1U);
}

TEST_F(ProcessActivityTest, AsksThePortalWhereTheLoginManagerRefuses) {
    const RefusingService loginManager(systemBus, loginManagerPlace);
    Portal portal(sessionBus);
    LinuxProcessActivity activity(log);
    activity.beginUserInitiated("Timer Enabled");
    EXPECT_TRUE(eventually([&] { return portal.callers().size() == 1; }));
    EXPECT_TRUE(log.lines().empty());
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

}  // namespace
}  // namespace velunor
