#pragma once

#include "platform/text.h"

namespace velunor {

/// Counts extended grapheme clusters by the Unicode rules.
class QtTextSegmenter : public TextSegmenter {
  public:
    [[nodiscard]] std::size_t characterCount(std::string_view text) const override;
};

}  // namespace velunor
