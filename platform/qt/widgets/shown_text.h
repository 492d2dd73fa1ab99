#pragma once

#include <QList>
#include <QString>
#include <QStringView>
#include <QTextLayout>

#include "platform/graphics.h"

namespace velunor {

/// A text and the parts of it that have a format of their own, in UTF-16 units.
struct ShownText {
    QString text;
    QList<QTextLayout::FormatRange> formats;
};

/// The text of all runs with the looks of their styled parts. A styled part that would end inside
/// a surrogate pair is widened to the whole code point.
[[nodiscard]] ShownText shownText(const AttributedString& styled);

/// What of a text is laid out, in UTF-16 units and paragraphs: some pages of so small a window.
inline constexpr qsizetype mostUnits = 2000;
inline constexpr int mostParagraphs = 100;

/// As much of `shown` as is laid out, so that no text can hold the window up; an ellipsis at its
/// end tells that there is more. Whole code points and combined characters stay together.
[[nodiscard]] ShownText boundedText(ShownText shown);

/// Length of the line break that begins at `index`: 2 for a carriage return and a line feed, 1 for
/// either alone and for Unicode's own, 0 where there is none.
[[nodiscard]] qsizetype lineBreakAt(QStringView text, qsizetype index);

/// Those of `formats` that are between `start` and `end`, cut at both and counted from `start`.
[[nodiscard]] QList<QTextLayout::FormatRange> formatsWithin(
    const QList<QTextLayout::FormatRange>& formats, qsizetype start, qsizetype end);

}  // namespace velunor
