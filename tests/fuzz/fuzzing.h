#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace velunor {

/// What a fuzzer does with one input; each fuzzer defines it.
void fuzz(std::string_view input);

/// Ends the program, which is a finding, unless `condition` holds.
void require(bool condition);

/// The input's parts, which NUL separates; at least one.
[[nodiscard]] std::vector<std::string> partsOf(std::string_view input);

/// Whether nothing in `text` breaks a line, steers a terminal or turns the direction of reading.
[[nodiscard]] bool isOneLine(std::string_view text);

/// A file in memory that holds `content`, to be read from its beginning. Valid until the next call.
[[nodiscard]] int streamOf(std::string_view content);

}  // namespace velunor
