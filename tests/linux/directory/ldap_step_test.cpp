// The limit of a step, and what is told of it.

#include "tools/osupdate_checkpass/ldap/ldap_step.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <array>
#include <chrono>
#include <string>
#include <string_view>

#include "platform/posix/file_descriptor.h"
#include "tests/support/forked_copy.h"

namespace velunor::testing {
namespace {

using std::chrono::seconds;

TEST(Step, TellsItsErrorAndEndsTheProcessAtTheLimit) {
    std::array<int, 2> ends{};
    ASSERT_EQ(pipe2(ends.data(), O_CLOEXEC), 0);
    const FileDescriptor reader(ends[0]);
    FileDescriptor writer(ends[1]);
    const auto outcome = inChild([&]() -> std::string {
        const Step step({writer.get(), seconds{1}}, ldapError(-5, "What is slow"));
        while (true) {
            pause();
        }
    });
    writer = FileDescriptor();
    EXPECT_EQ(outcome.status, 1);
    std::array<char, 100> text{};
    const ssize_t count = read(reader.get(), text.data(), text.size());
    ASSERT_GT(count, 0);
    EXPECT_EQ(std::string_view(text.data(), static_cast<std::size_t>(count)),
              "refused -5 What is slow: Timed out\n");
}

TEST(Step, LimitEndsWithIt) {
    {
        const Step step({STDOUT_FILENO, seconds{50}}, ldapError(-5, "What is slow"));
        // What is left of it. This sets it again, for longer than anything takes here.
        EXPECT_GT(alarm(100), 0U);
    }
    EXPECT_EQ(alarm(0), 0U);
}

}  // namespace
}  // namespace velunor::testing
