#pragma once

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/socket.h>
#include <unistd.h>

#include <array>
#include <string>

namespace velunor::testing {

/// A record as a line of standard error: process id, text.
inline constexpr const char* lineForm =
    R"(\d{4}-\d\d-\d\d \d\d:\d\d:\d\d\.\d{3} VelunorOSUpdate\[(\d+)\] ([^\n]*)\n)";

/// A pipe as standard error of a forked copy of the program.
struct ErrorPipe {
    ErrorPipe() { EXPECT_EQ(pipe2(ends.data(), O_CLOEXEC), 0); }
    void take() const { dup2(ends[1], STDERR_FILENO); }
    std::array<int, 2> ends{};
};

/// Makes a stream's socket standard error of a forked copy of the program; the other end's number.
inline int takeSocket() {
    std::array<int, 2> ends{};
    EXPECT_EQ(socketpair(AF_UNIX, SOCK_STREAM, 0, ends.data()), 0);
    dup2(ends[1], STDERR_FILENO);
    return ends[0];
}

/// Everything up to the end of the stream.
inline std::string readAll(int descriptor) {
    std::string text;
    std::array<char, 4096> block{};
    ssize_t count = 0;
    while ((count = read(descriptor, block.data(), block.size())) > 0) {
        text.append(block.data(), static_cast<std::size_t>(count));
    }
    return text;
}

}  // namespace velunor::testing
