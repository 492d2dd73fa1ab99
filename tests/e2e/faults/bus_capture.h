#pragma once

#include <string>

#include "tests/support/child_process.h"
#include "tests/support/temporary_directory.h"

namespace velunor::testing {

/// Everything that is said on a message bus, byte for byte. It is kept in a directory of its own.
class BusCapture {
  public:
    /// Hears the bus at `address` when the constructor returns. Throws when it cannot.
    explicit BusCapture(const std::string& address);

    /// What was said so far, to the last byte; where the bus is gone, until then.
    [[nodiscard]] std::string bytes();

  private:
    [[nodiscard]] std::string heard() const { return kept_.read("said"); }
    /// Says something on the bus that was not said before, and gives it.
    [[nodiscard]] std::string say();

    std::string address_;
    int said_ = 0;
    TemporaryDirectory kept_;
    ChildProcess listener_;
};

}  // namespace velunor::testing
