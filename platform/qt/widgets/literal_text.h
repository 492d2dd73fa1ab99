#pragma once

#include <QColor>
#include <QFont>
#include <QList>
#include <QPainter>
#include <QString>
#include <QTextLayout>
#include <memory>
#include <vector>

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

/// Lays out and draws a text exactly as it stands: no markup, no mnemonics, nothing left out. Lines
/// break at the text's own line breaks and where the width asks for it, inside a word if need be.
/// Each paragraph runs in the direction of its first strong character. The toolkit's own label
/// takes a text for markup when it looks like it, cuts a word that is too long, and lets the text
/// beside a running figure tremble. Main thread only.
class LiteralText {
  public:
    /// Every line but the first begins where the text goes on after its first `hangingUnits` units,
    /// such as a bullet, which stand at the leading edge of the surrounding layout. Such a text has
    /// no formats.
    void setText(const ShownText& shown, qsizetype hangingUnits = 0);
    /// Every line is at the leading edge of the surrounding layout, which has this direction.
    void setFont(const QFont& font, Qt::LayoutDirection direction = Qt::LeftToRight);
    [[nodiscard]] const QFont& font() const { return font_; }
    /// Puts every line in the middle instead. Called before the font is set.
    void centerLines() { centered_ = true; }

    /// Width of the longest paragraph on one line, rounded up.
    [[nodiscard]] int naturalWidth() const { return naturalWidth_; }
    /// Width of the longest line when the lines are at most `width` wide, rounded up.
    [[nodiscard]] int usedWidth(double width) const;
    /// Width of the longest part that a line break should not split, rounded up.
    [[nodiscard]] int widestWord() const;
    /// Height of the text when its lines are at most `width` wide, rounded up; one line at least.
    [[nodiscard]] int heightForWidth(int width) const;
    void draw(QPainter& painter, const QRect& area, const QColor& color) const;

  private:
    void rebuild();
    void addParagraph(qsizetype start, qsizetype end,
                      const QList<QTextLayout::FormatRange>& formats);
    /// Lays all paragraphs out and gives back their height together.
    qreal layOut(qreal width) const;

    ShownText shown_;
    QFont font_;
    Qt::LayoutDirection direction_ = Qt::LeftToRight;
    bool centered_ = false;
    qsizetype hangingUnits_ = 0;
    std::vector<std::unique_ptr<QTextLayout>> paragraphs_;
    mutable qreal laidOutWidth_ = -1;
    mutable qreal laidOutHeight_ = 0;
    int naturalWidth_ = 0;
};

}  // namespace velunor
