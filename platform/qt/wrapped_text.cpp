#include "platform/qt/wrapped_text.h"

#include <QPainter>
#include <QTextOption>

namespace velunor {

namespace {

/// The same number of units with every line break as a separator that the layout knows.
QString withLineSeparators(QString text) {
    constexpr QChar nothing(0x200B);
    for (qsizetype index = 0; index < text.size(); ++index) {
        const QChar unit = text.at(index);
        const bool beforeNewline = index + 1 < text.size() && text.at(index + 1) == u'\n';
        if (unit == u'\r' && beforeNewline) {
            text[index] = nothing;
        } else if (unit == u'\r' || unit == u'\n' || unit == QChar::ParagraphSeparator) {
            text[index] = QChar::LineSeparator;
        }
    }
    return text;
}

}  // namespace

void WrappedText::setText(const QString& text, const QList<QTextLayout::FormatRange>& formats) {
    text_ = text;
    lines_ = withLineSeparators(text);
    formats_ = formats;
}

qreal WrappedText::heightForWidth(const QFont& font, qreal width) const {
    QTextLayout layout(lines_, font);
    layOut(layout, width, Qt::AlignLeft);
    return layout.boundingRect().height();
}

qreal WrappedText::naturalWidth(const QFont& font) const {
    constexpr qreal endless = 1 << 20;
    QTextLayout layout(lines_, font);
    layOut(layout, endless, Qt::AlignLeft);
    qreal width = 0;
    for (int index = 0; index < layout.lineCount(); ++index) {
        width = qMax(width, layout.lineAt(index).naturalTextWidth());
    }
    return width;
}

void WrappedText::draw(QPainter& painter, const QFont& font, const QRectF& area,
                       Qt::Alignment alignment) const {
    QTextLayout layout(lines_, font);
    layOut(layout, area.width(), alignment);
    layout.draw(&painter, area.topLeft());
}

void WrappedText::layOut(QTextLayout& layout, qreal width, Qt::Alignment alignment) const {
    QTextOption option(alignment);
    option.setWrapMode(QTextOption::WrapAtWordBoundaryOrAnywhere);
    option.setTextDirection(Qt::LayoutDirectionAuto);
    layout.setTextOption(option);
    layout.setFormats(formats_);
    layout.beginLayout();
    qreal top = 0;
    for (QTextLine line = layout.createLine(); line.isValid(); line = layout.createLine()) {
        line.setLineWidth(width);
        line.setPosition({0, top});
        top += line.height();
    }
    layout.endLayout();
}

}  // namespace velunor
