#pragma once

#include <unistd.h>

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

}  // namespace velunor
