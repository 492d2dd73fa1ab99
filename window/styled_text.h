#pragma once

#include <span>
#include <string>
#include <string_view>

#include "platform/attributed_string.h"
#include "platform/text.h"

namespace velunor {

/// Styled text of a template: its pieces between the placeholders "%s" as plain runs, and after
/// each piece the next value, bold and in the standard text colour. Values beyond the number of
/// pieces are dropped; the styling covers as many UTF-16 units as the value has characters.
[[nodiscard]] AttributedString buildAttributedUpdateString(std::string_view templateText,
                                                           std::span<const std::string> values,
                                                           const TextSegmenter& segmenter);

}  // namespace velunor
