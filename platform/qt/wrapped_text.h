#pragma once

#include <QFont>
#include <QList>
#include <QString>
#include <QTextLayout>

class QPainter;

namespace velunor {

/// A literal text laid out in lines: it breaks between words, or inside of a word that is too long
/// for a line, keeps its own line breaks, and runs in the direction of its own script.
class WrappedText {
  public:
    void setText(const QString& text, const QList<QTextLayout::FormatRange>& formats = {});

    [[nodiscard]] const QString& text() const { return text_; }

    /// Height of the text in lines of `width` pixels.
    [[nodiscard]] qreal heightForWidth(const QFont& font, qreal width) const;

    /// Width of the text where nothing but its own line breaks divides it.
    [[nodiscard]] qreal naturalWidth(const QFont& font) const;

    /// Draws the text from the top of `area` in the painter's pen.
    void draw(QPainter& painter, const QFont& font, const QRectF& area,
              Qt::Alignment alignment) const;

  private:
    void layOut(QTextLayout& layout, qreal width, Qt::Alignment alignment) const;

    QString text_;
    /// The text as the layout takes it: its line breaks as line separators.
    QString lines_;
    QList<QTextLayout::FormatRange> formats_;
};

}  // namespace velunor
