#pragma once

#include <string>

#include "platform/posix/file_descriptor.h"

namespace velunor::testing {

/// A local socket that listens at a path, which stays behind.
class ListeningSocket {
  public:
    explicit ListeningSocket(const std::string& path, int backlog = 1);

    /// The next connection.
    [[nodiscard]] FileDescriptor accept() const;

    /// A connection to it from here, closed when it would have to wait.
    [[nodiscard]] FileDescriptor connectAtOnce() const;

    [[nodiscard]] int descriptor() const { return socket_.get(); }

  private:
    std::string path_;
    FileDescriptor socket_;
};

}  // namespace velunor::testing
