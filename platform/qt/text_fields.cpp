#include "platform/qt/text_fields.h"

#include <QEvent>
#include <QKeyEvent>
#include <QPainter>

#include "platform/qt/theme.h"

namespace velunor {

namespace {

constexpr qreal cornerRadius = 8;
constexpr int fieldHeight = 36;
constexpr int sideMargin = 10;

}  // namespace

CustomTextField::CustomTextField(QWidget* parent) : QLineEdit(parent) {
    setFrame(false);
    setTextMargins(sideMargin, 0, sideMargin, 0);
    applyTheme();
}

QSize CustomTextField::sizeHint() const {
    return {QLineEdit::sizeHint().width(), qMax(fieldHeight, fontMetrics().height() + 16)};
}

QSize CustomTextField::minimumSizeHint() const {
    return {QLineEdit::minimumSizeHint().width(), sizeHint().height()};
}

void CustomTextField::paintEvent(QPaintEvent* event) {
    {
        QPainter painter(this);
        painter.setRenderHint(QPainter::Antialiasing);
        drawFocusRingMask(painter);
    }
    QLineEdit::paintEvent(event);
}

void CustomTextField::drawFocusRingMask(QPainter& painter) const {
    const Theme& theme = themeFor(parentWidget() ? parentWidget()->palette() : palette());
    const qreal line = hasFocus() ? 2 : 1;
    painter.setPen(QPen(hasFocus() ? theme.accent : theme.fieldBorder, line));
    painter.setBrush(theme.field);
    painter.drawRoundedRect(
        focusRingMaskBounds().adjusted(line / 2, line / 2, -line / 2, -line / 2), cornerRadius,
        cornerRadius);
}

void CustomTextField::changeEvent(QEvent* event) {
    QLineEdit::changeEvent(event);
    if (event->type() == QEvent::PaletteChange && !applyingTheme_) {
        applyTheme();
    }
}

void CustomTextField::applyTheme() {
    const Theme& theme = themeFor(parentWidget() ? parentWidget()->palette() : palette());
    QPalette colors = palette();
    colors.setColor(QPalette::Base, Qt::transparent);
    colors.setColor(QPalette::Text, theme.text);
    colors.setColor(QPalette::PlaceholderText, theme.mutedText);
    applyingTheme_ = true;
    setPalette(colors);
    applyingTheme_ = false;
}

CustomSecureTextField::CustomSecureTextField(QWidget* parent) : CustomTextField(parent) {
    setEchoMode(QLineEdit::Password);
    setContextMenuPolicy(Qt::NoContextMenu);
    setDragEnabled(false);
    setAcceptDrops(false);
    setInputMethodHints(Qt::ImhHiddenText | Qt::ImhSensitiveData | Qt::ImhNoPredictiveText |
                        Qt::ImhNoAutoUppercase);
}

void CustomSecureTextField::wipeAndClear() {
    const QString held = text();
    // The copy shares its storage with the field, so this overwrites the field's own characters.
    auto* characters = const_cast<QChar*>(held.constData());
    std::fill_n(characters, held.size(), QChar());
    clear();
}

bool CustomSecureTextField::event(QEvent* event) {
    if (event->type() == QEvent::ShortcutOverride) {
        const auto* key = static_cast<QKeyEvent*>(event);
        if (key->matches(QKeySequence::Undo) || key->matches(QKeySequence::Redo)) {
            // Unclaimed, so that the window and not the field decides on the keys.
            event->ignore();
            return true;
        }
    }
    return CustomTextField::event(event);
}

void CustomSecureTextField::keyPressEvent(QKeyEvent* event) {
    // An undo would bring back a text that was meant to be gone.
    if (event->matches(QKeySequence::Undo) || event->matches(QKeySequence::Redo)) {
        event->accept();
        return;
    }
    CustomTextField::keyPressEvent(event);
}

}  // namespace velunor
