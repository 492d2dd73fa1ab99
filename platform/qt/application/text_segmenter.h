#pragma once

#include <QString>
#include <QTextBoundaryFinder>

#include "platform/text.h"

namespace velunor {

/// Counts grapheme clusters by the Unicode rules. Any thread.
class QtTextSegmenter final : public TextSegmenter {
  public:
    [[nodiscard]] std::size_t characterCount(std::string_view text) const override {
        QTextBoundaryFinder finder(QTextBoundaryFinder::Grapheme, QString::fromUtf8(text));
        std::size_t count = 0;
        while (finder.toNextBoundary() != -1) {
            ++count;
        }
        return count;
    }
};

}  // namespace velunor
