#pragma once

#include <QColor>
#include <QFont>
#include <QList>
#include <QPainter>
#include <QString>
#include <QTextLayout>
#include <array>
#include <memory>
#include <optional>
#include <vector>

#include "platform/qt/widgets/shown_text.h"

namespace velunor {

/// Lays out and draws a text exactly as it stands: no markup, no mnemonics. Lines break at the
/// text's own line breaks and where the width asks for it, inside a word if need be. Each paragraph
/// runs in the direction of its first strong character. The toolkit's own label takes a text for
/// markup when it looks like it, cuts a word that is too long, and lets the text beside a running
/// figure tremble. A text is shaped once, when it is first measured or drawn, for all widths. Main
/// thread only.
class LiteralText {
  public:
    /// Every line but the first begins where the text goes on after its first `hangingUnits` units,
    /// such as a bullet, which stand at the leading edge of the surrounding layout. Such a text has
    /// no formats.
    void setText(ShownText shown, qsizetype hangingUnits = 0);
    /// Every line is at the leading edge of the surrounding layout, which has this direction.
    void setFont(const QFont& font, Qt::LayoutDirection direction = Qt::LeftToRight);
    [[nodiscard]] const QFont& font() const { return font_; }
    /// Puts every line in the middle instead. Called before the font is set.
    void centerLines() { centered_ = true; }

    /// Width of the longest paragraph on one line, rounded up.
    [[nodiscard]] int naturalWidth() const;
    /// Width of the longest line when the lines are at most `width` wide, rounded up.
    [[nodiscard]] int usedWidth(double width) const;
    /// Width of the longest part that a line break should not split, rounded up.
    [[nodiscard]] int widestWord() const;
    /// Height of the text when its lines are at most `width` wide, rounded up; one line at least.
    [[nodiscard]] int heightForWidth(int width) const;
    /// Draws the lines that are within `area` and the painter's clip.
    void draw(QPainter& painter, const QRect& area, const QColor& color) const;

  private:
    /// What a width makes of the text.
    struct Measure {
        qreal width;
        qreal height;
        qreal longestLine;
    };

    void forget();
    void shape() const;
    void addParagraph(qsizetype start, qsizetype end,
                      const QList<QTextLayout::FormatRange>& formats) const;
    /// The text's formats, those of its figures such that all digits are equally wide: a figure
    /// that counts must not make the text beside it tremble.
    [[nodiscard]] QList<QTextLayout::FormatRange> steadyFormats() const;
    /// Breaks all paragraphs into lines, unless they are for this width already.
    void breakLines(qreal width) const;
    [[nodiscard]] const Measure* knownMeasure(qreal width) const;
    [[nodiscard]] Measure measureAt(qreal width) const;

    ShownText shown_;
    QFont font_;
    Qt::LayoutDirection direction_ = Qt::LeftToRight;
    bool centered_ = false;
    qsizetype hangingUnits_ = 0;
    mutable std::vector<std::unique_ptr<QTextLayout>> paragraphs_;
    mutable qreal brokenWidth_ = -1;
    mutable std::vector<Measure> measures_;
    mutable std::optional<int> widestWord_;
    /// The text that the widths of digits were measured in, each of its figures' digits a zero.
    mutable QString figuresText_;
    mutable std::vector<std::array<qreal, 10>> digitWidths_;
};

}  // namespace velunor
