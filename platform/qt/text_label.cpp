#include "platform/qt/text_label.h"

#include <QPainter>

#include "platform/qt/theme.h"

namespace velunor {

TextLabel::TextLabel(QWidget* parent) : QLabel(parent) {
    setTextFormat(Qt::PlainText);
    QSizePolicy policy(QSizePolicy::Preferred, QSizePolicy::Minimum);
    policy.setHeightForWidth(true);
    setSizePolicy(policy);
}

void TextLabel::setLiteralText(const QString& text,
                               const QList<QTextLayout::FormatRange>& formats) {
    const int before = heightForWidth(width());
    content_.setText(text, formats);
    // The base class keeps the text for screen readers.
    QLabel::setText(text);
    if (heightForWidth(width()) != before) {
        updateGeometry();
    }
    update();
}

void TextLabel::setTextRatio(qreal ratio) {
    textRatio_ = ratio;
    updateGeometry();
}

void TextLabel::setStrong(bool strong) {
    strong_ = strong;
    updateGeometry();
}

QSize TextLabel::sizeHint() const {
    constexpr int widestHint = 320;
    const int width = qMin(widestHint, qCeil(content_.naturalWidth(textFont())));
    return {width, heightForWidth(width)};
}

QSize TextLabel::minimumSizeHint() const {
    // The height follows from the width that the layout gives.
    return {0, 0};
}

int TextLabel::heightForWidth(int width) const {
    return qCeil(content_.heightForWidth(textFont(), qMax(1, width)));
}

void TextLabel::paintEvent(QPaintEvent* /*event*/) {
    const Theme& theme = themeFor(palette());
    QPainter painter(this);
    painter.setPen(textRole_ == TextRole::Muted    ? theme.mutedText
                   : textRole_ == TextRole::Notice ? theme.noticeText
                                                   : theme.text);
    content_.draw(painter, textFont(), rect(), alignment() & Qt::AlignHorizontal_Mask);
}

QFont TextLabel::textFont() const {
    return desktopFont(textRatio_, strong_);
}

}  // namespace velunor
