#pragma once

#include <array>
#include <cstddef>

#include "platform/secret.h"

namespace velunor::testing {

/// A password that is in this process only while it is a Secret.
class Needle {
  public:
    Needle();

    [[nodiscard]] Secret password() const;

    /// Whether the password stands at these bytes, of which there are at least `size`.
    [[nodiscard]] bool isAt(const char* bytes) const;

    static constexpr std::size_t size = 24;

  private:
    std::array<unsigned char, size> masked_{};
};

/// How often the password is in the memory of this process.
[[nodiscard]] int occurrencesOf(const Needle& needle);

}  // namespace velunor::testing
