#include "platform/qt/widgets/shown_text.h"

#include <QFontInfo>
#include <QGuiApplication>
#include <QTextBoundaryFinder>
#include <algorithm>

namespace velunor {
namespace {

/// A styled run's size beside the desktop's own font: the sizes are meant for a desktop whose text
/// has 13 points, and grow with the text of one that has more.
double sizeBesideDesktopFont(double pointSize) {
    constexpr double usualPointSize = 13;
    return QFontInfo(QGuiApplication::font()).pointSizeF() * pointSize / usualPointSize;
}

}  // namespace

ShownText shownText(const AttributedString& styled) {
    ShownText shown;
    for (const TextRun& run : styled) {
        const QString text = QString::fromStdString(run.text);
        auto styledUnits = static_cast<qsizetype>(
            std::min(run.styledLength, static_cast<std::size_t>(text.size())));
        if (styledUnits < text.size() && text.at(styledUnits).isLowSurrogate()) {
            ++styledUnits;
        }
        if (run.attributes && styledUnits > 0) {
            // The standard text colour is the label's own, so the format says nothing about it.
            QTextCharFormat format;
            format.setFontWeight(run.attributes->weight == FontWeight::bold ? QFont::Bold
                                                                            : QFont::Normal);
            format.setFontPointSize(sizeBesideDesktopFont(run.attributes->pointSize));
            shown.formats.append(
                {static_cast<int>(shown.text.size()), static_cast<int>(styledUnits), format});
        }
        shown.text += text;
    }
    return shown;
}

ShownText boundedText(ShownText shown) {
    const QStringView text = shown.text;
    const qsizetype most = std::min(text.size(), mostUnits);
    qsizetype end = 0;
    for (int paragraphs = 0; end < most; ++end) {
        if (lineBreakAt(text, end) == 1 && ++paragraphs == mostParagraphs) {
            break;
        }
    }
    if (end == text.size()) {
        return shown;
    }
    QTextBoundaryFinder finder(QTextBoundaryFinder::Grapheme, text.first(end + 1));
    finder.setPosition(end);
    end = finder.isAtBoundary() ? end : finder.toPreviousBoundary();
    shown.formats = formatsWithin(shown.formats, 0, end);
    shown.text.truncate(end);
    shown.text += QChar(0x2026);
    return shown;
}

qsizetype lineBreakAt(QStringView text, qsizetype index) {
    if (text.sliced(index).startsWith(QStringView(u"\r\n"))) {
        return 2;
    }
    const QChar unit = text.at(index);
    return unit == u'\n' || unit == u'\r' || unit == QChar::LineSeparator ||
                   unit == QChar::ParagraphSeparator
               ? 1
               : 0;
}

QList<QTextLayout::FormatRange> formatsWithin(const QList<QTextLayout::FormatRange>& formats,
                                              qsizetype start, qsizetype end) {
    QList<QTextLayout::FormatRange> within;
    for (const QTextLayout::FormatRange& range : formats) {
        const qsizetype first = std::max<qsizetype>(range.start, start);
        const qsizetype last = std::min<qsizetype>(range.start + range.length, end);
        if (first < last) {
            within.append(
                {static_cast<int>(first - start), static_cast<int>(last - first), range.format});
        }
    }
    return within;
}

}  // namespace velunor
