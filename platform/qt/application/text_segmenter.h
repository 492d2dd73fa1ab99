#pragma once

#include "platform/text.h"

namespace velunor {

/// Counts grapheme clusters by the Unicode rules. Any thread.
class QtTextSegmenter final : public TextSegmenter {
  public:
    [[nodiscard]] std::size_t characterCount(std::string_view text) const override;
};

}  // namespace velunor
