#include "platform/linux/session/bus_handles.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <cstdint>
#include <cstdlib>

#include "tests/support/private_bus.h"

namespace velunor {
namespace {

TEST(Bus, AnswersWithinFiveSeconds) {
    const testing::PrivateBus bus;
    setenv("DBUS_SESSION_BUS_ADDRESS", bus.address().c_str(), 1);
    const BusHandle handle = openBus(sd_bus_open_user);
    ASSERT_TRUE(handle);
    std::uint64_t microseconds = 0;
    ASSERT_GE(sd_bus_get_method_call_timeout(handle.get(), &microseconds), 0);
    EXPECT_EQ(microseconds, 5'000'000U);
}

TEST(Bus, TellsWhyThereIsNone) {
    setenv("DBUS_SESSION_BUS_ADDRESS", "unix:path=/nonexistent/session", 1);
    errno = 0;
    EXPECT_FALSE(openBus(sd_bus_open_user));
    EXPECT_EQ(errno, ENOENT);
    // Here no call of the system has failed.
    setenv("DBUS_SESSION_BUS_ADDRESS", "no address at all", 1);
    errno = 0;
    EXPECT_FALSE(openBus(sd_bus_open_user));
    EXPECT_NE(errno, 0);
}

}  // namespace
}  // namespace velunor
