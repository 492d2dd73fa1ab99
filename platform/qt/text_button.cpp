#include "platform/qt/text_button.h"

#include <QPainter>

#include "platform/qt/theme.h"

namespace velunor {

namespace {

constexpr int lowestButton = 36;
constexpr int verticalPadding = 8;
constexpr int widestHint = 180;
constexpr qreal cornerRadius = 8;
constexpr qreal ringWidth = 2;

}  // namespace

TextButton::TextButton(QWidget* parent) : QPushButton(parent) {
    QSizePolicy policy(QSizePolicy::Preferred, QSizePolicy::Minimum);
    policy.setHeightForWidth(true);
    setSizePolicy(policy);
    setAutoDefault(false);
    setAttribute(Qt::WA_Hover);
}

void TextButton::setCaption(const QString& caption) {
    content_.setText(caption);
    // Doubled ampersands are plain ones to the base class, which names the button to screen
    // readers.
    setText(QString(caption).replace(u"&"_qs, u"&&"_qs));
    updateGeometry();
}

QSize TextButton::sizeHint() const {
    const int width =
        qMin(widestHint, qCeil(content_.naturalWidth(captionFont())) + 2 * horizontalPadding());
    return {width, heightForWidth(width)};
}

QSize TextButton::minimumSizeHint() const {
    return {qMin(sizeHint().width(), widestHint / 2), look_ == Look::Link ? 0 : lowestButton};
}

int TextButton::heightForWidth(int width) const {
    const int inner = qMax(1, width - 2 * horizontalPadding());
    const int textHeight = qCeil(content_.heightForWidth(captionFont(), inner));
    const int lowest = look_ == Look::Link ? 0 : lowestButton;
    const int padding = look_ == Look::Link ? 2 : verticalPadding;
    return qMax(lowest, textHeight + 2 * padding);
}

void TextButton::paintEvent(QPaintEvent* /*event*/) {
    const Theme& theme = themeFor(palette());
    const auto state = [this](const QColor& normal, const QColor& hover, const QColor& pressed) {
        return isDown() ? pressed : underMouse() ? hover : normal;
    };
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    const QRectF area(rect());
    QColor pen = theme.text;
    if (look_ == Look::Link) {
        pen = state(theme.accent, theme.accentHover, theme.accentPressed);
    } else {
        const bool primary = look_ == Look::Primary;
        pen = primary ? theme.accentText : theme.text;
        painter.setPen(Qt::NoPen);
        painter.setBrush(primary ? state(theme.accent, theme.accentHover, theme.accentPressed)
                                 : state(theme.button, theme.buttonHover, theme.buttonPressed));
        painter.drawRoundedRect(area, cornerRadius, cornerRadius);
    }
    if (hasFocus()) {
        // The ring lies inside of the shape, in a colour that stands out from it.
        const qreal inset = look_ == Look::Primary ? 2.5 : ringWidth / 2;
        painter.setBrush(Qt::NoBrush);
        painter.setPen(QPen(look_ == Look::Primary ? theme.accentText : theme.accent, ringWidth));
        painter.drawRoundedRect(area.adjusted(inset, inset, -inset, -inset), cornerRadius - 2,
                                cornerRadius - 2);
    }
    if (!isEnabled()) {
        pen.setAlphaF(0.5F);
    }
    const qreal inner = area.width() - 2.0 * horizontalPadding();
    const qreal height = content_.heightForWidth(captionFont(), inner);
    painter.setPen(pen);
    content_.draw(
        painter, captionFont(),
        {static_cast<qreal>(horizontalPadding()), (area.height() - height) / 2, inner, height},
        look_ == Look::Link ? Qt::AlignLeft : Qt::AlignHCenter);
}

QFont TextButton::captionFont() const {
    return desktopFont(1, look_ != Look::Link);
}

int TextButton::horizontalPadding() const {
    return look_ == Look::Link ? 2 : 16;
}

}  // namespace velunor
