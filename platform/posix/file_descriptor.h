#pragma once

#include <poll.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <string_view>
#include <utility>

namespace velunor {

/// An owned file descriptor, closed at the end of its life.
class FileDescriptor {
  public:
    explicit FileDescriptor(int descriptor = -1) noexcept : descriptor_(descriptor) {}
    FileDescriptor(const FileDescriptor&) = delete;
    FileDescriptor& operator=(const FileDescriptor&) = delete;
    FileDescriptor(FileDescriptor&& other) noexcept
        : descriptor_(std::exchange(other.descriptor_, -1)) {}
    FileDescriptor& operator=(FileDescriptor&& other) noexcept {
        std::swap(descriptor_, other.descriptor_);
        return *this;
    }
    ~FileDescriptor() {
        if (descriptor_ >= 0) {
            ::close(descriptor_);
        }
    }

    [[nodiscard]] int get() const noexcept { return descriptor_; }
    [[nodiscard]] bool isOpen() const noexcept { return descriptor_ >= 0; }

    /// Gives the descriptor to the caller, who closes it from now on.
    [[nodiscard]] int release() noexcept { return std::exchange(descriptor_, -1); }

  private:
    int descriptor_;
};

/// Writes all the bytes, in one piece where the descriptor takes them so. 0, or else errno's
/// number. Any thread.
[[nodiscard]] inline int writeWhole(int descriptor, std::string_view bytes) {
    while (!bytes.empty()) {
        const ssize_t count = ::write(descriptor, bytes.data(), bytes.size());
        if (count > 0) {
            bytes.remove_prefix(static_cast<std::size_t>(count));
        } else if (count == 0 || errno != EINTR) {
            return count == 0 ? EIO : errno;
        }
    }
    return 0;
}

/// Waits until one of the poll(2) events is there, an end of the stream or an error of the
/// descriptor included. 0, or else errno's number: ETIMEDOUT once the deadline has passed. Any
/// thread.
[[nodiscard]] inline int pollUntil(int descriptor, short events,
                                   std::chrono::steady_clock::time_point deadline) {
    using std::chrono::milliseconds;
    // poll(2) would pass over it and wait.
    if (descriptor < 0) {
        return EBADF;
    }
    while (true) {
        const auto left = deadline - std::chrono::steady_clock::now();
        if (left <= std::chrono::steady_clock::duration::zero()) {
            return ETIMEDOUT;
        }
        // Rounded up, so that it does not spin through the last millisecond.
        const auto wait = std::min(std::chrono::ceil<milliseconds>(left), milliseconds{60'000});
        pollfd entry{descriptor, events, 0};
        const int count = poll(&entry, 1, static_cast<int>(wait.count()));
        if (count > 0) {
            return (entry.revents & POLLNVAL) != 0 ? EBADF : 0;
        }
        if (count < 0 && errno != EINTR) {
            return errno;
        }
    }
}

}  // namespace velunor
