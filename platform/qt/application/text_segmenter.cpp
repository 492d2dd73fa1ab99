#include "platform/qt/application/text_segmenter.h"

#include <QString>
#include <QTextBoundaryFinder>

namespace velunor {

std::size_t QtTextSegmenter::characterCount(std::string_view text) const {
    const QString units = QString::fromUtf8(text.data(), static_cast<qsizetype>(text.size()));
    QTextBoundaryFinder finder(QTextBoundaryFinder::Grapheme, units);
    std::size_t count = 0;
    while (finder.toNextBoundary() != -1) {
        ++count;
    }
    return count;
}

}  // namespace velunor
