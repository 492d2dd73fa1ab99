#include "platform/qt/widgets/text_fields.h"

#include <QFocusEvent>
#include <QStyle>
#include <algorithm>

#include "platform/qt/accessibility/accessibility.h"
#include "platform/qt/desktop/appearance.h"
#include "platform/qt/widgets/accessible_field.h"
#include "platform/qt/widgets/picture_view.h"

namespace velunor {
namespace {

constexpr double cornerRadius = 8;
constexpr int leastFieldHeight = 40;
constexpr int verticalRoom = 10;
constexpr int edgeRoom = 10;
constexpr int leastGlyphSize = 16;
/// Size of a glyph beside the height of a line: it grows with large text.
constexpr double glyphSizeInLines = 0.8;
constexpr int longestText = 1 << 20;

/// Another window or a menu takes the focus only for a while.
bool isPassing(const QFocusEvent& event) {
    return event.reason() == Qt::ActiveWindowFocusReason || event.reason() == Qt::PopupFocusReason;
}

bool isByKey(const QFocusEvent& event) {
    return event.reason() == Qt::TabFocusReason || event.reason() == Qt::BacktabFocusReason;
}

QColor mixed(const QColor& one, const QColor& other, double share) {
    const auto part = [share](int from, int to) { return qRound(from + (to - from) * share); };
    return {part(one.red(), other.red()), part(one.green(), other.green()),
            part(one.blue(), other.blue())};
}

}  // namespace

RoundedField::RoundedField(QWidget* parent) : QLineEdit(parent) {
    setFrame(false);
    setMaxLength(longestText);
    setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Fixed);
    placeText();
    applyTheme();
}

void RoundedField::setGlyph(const QString& path) {
    glyph_ = path;
    placeText();
}

void RoundedField::setTrailingRoom(int room) {
    trailingRoom_ = room;
    placeText();
}

int RoundedField::glyphSize() const {
    return std::max(leastGlyphSize, qRound(glyphSizeInLines * fontMetrics().height()));
}

void RoundedField::placeText() {
    const int leading = glyph_.isEmpty() ? edgeRoom : edgeRoom + glyphSize() + edgeRoom - 2;
    const bool mirrored = layoutDirection() == Qt::RightToLeft;
    const int trailing = edgeRoom + trailingRoom_;
    setTextMargins(mirrored ? trailing : leading, 0, mirrored ? leading : trailing, 0);
    // Left to itself the editor would take the side from the text or the keyboard.
    setAlignment((mirrored ? Qt::AlignRight : Qt::AlignLeft) | Qt::AlignAbsolute |
                 Qt::AlignVCenter);
}

void RoundedField::setRefusal(double strength) {
    refusal_ = strength;
    update();
}

QSize RoundedField::sizeHint() const {
    const int height = std::max(leastFieldHeight, fontMetrics().height() + 2 * verticalRoom);
    return {QLineEdit::sizeHint().width(), height};
}

QSize RoundedField::minimumSizeHint() const {
    return {QLineEdit::minimumSizeHint().width(), sizeHint().height()};
}

void RoundedField::drawFocusRingMask(QPainter& painter) const {
    painter.drawRoundedRect(focusRingMaskBounds(), cornerRadius, cornerRadius);
}

void RoundedField::drawPlate(QPainter& painter) const {
    const Theme& theme = currentTheme();
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(Qt::NoPen);
    painter.setBrush(mixed(hasFocus() ? theme.link : theme.fieldBorder, theme.refused, refusal_));
    drawFocusRingMask(painter);
    const double line = hasFocus() || refusal_ > 0 ? theme.ring : theme.line;
    drawRounded(painter, QRectF(rect()).adjusted(line, line, -line, -line), cornerRadius - line,
                theme.field);
    if (!glyph_.isEmpty()) {
        const int size = glyphSize();
        const QRect place(edgeRoom, (height() - size) / 2, size, size);
        drawVectorPicture(painter, QStyle::visualRect(layoutDirection(), rect(), place), glyph_,
                          theme.secondaryText);
    }
}

void RoundedField::paintEvent(QPaintEvent* event) {
    {
        QPainter painter(this);
        drawPlate(painter);
    }
    QLineEdit::paintEvent(event);
}

void RoundedField::focusInEvent(QFocusEvent* event) {
    // Where the focus comes by a key, the editor would select its text before the toolkit tells of
    // the focus, and a screen reader would read that text out twice. The window selects it later.
    QFocusEvent withoutKey(QEvent::FocusIn, Qt::OtherFocusReason);
    QLineEdit::focusInEvent(isByKey(*event) ? &withoutKey : event);
}

void RoundedField::changeEvent(QEvent* event) {
    QLineEdit::changeEvent(event);
    if (event->type() == QEvent::LayoutDirectionChange || event->type() == QEvent::FontChange) {
        placeText();
    } else if (event->type() == QEvent::PaletteChange) {
        applyTheme();
    }
}

void RoundedField::applyTheme() {
    const Theme& theme = currentTheme();
    QPalette colours = palette();
    if (colours.color(QPalette::Text) == theme.text &&
        colours.color(QPalette::Highlight) == theme.accent) {
        return;
    }
    colours.setColor(QPalette::Text, theme.text);
    colours.setColor(QPalette::PlaceholderText, theme.secondaryText);
    colours.setColor(QPalette::Base, Qt::transparent);
    colours.setColor(QPalette::Highlight, theme.accent);
    colours.setColor(QPalette::HighlightedText, theme.onAccent);
    setPalette(colours);
}

CustomTextField::CustomTextField(QWidget* parent) : RoundedField(parent) {
    installAccessible<CustomTextField, AccessibleField>();
    connect(this, &QLineEdit::returnPressed, this, &CustomTextField::editingEnded);
    connect(this, &QLineEdit::textEdited, this, [this] { editing_ = true; });
}

void CustomTextField::focusInEvent(QFocusEvent* event) {
    RoundedField::focusInEvent(event);
    editing_ = editing_ || !isPassing(*event);
}

void CustomTextField::focusOutEvent(QFocusEvent* event) {
    RoundedField::focusOutEvent(event);
    if (editing_ && !isPassing(*event)) {
        editing_ = false;
        emit editingEnded();
    }
}

}  // namespace velunor
