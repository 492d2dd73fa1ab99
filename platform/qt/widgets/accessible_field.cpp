#include "platform/qt/widgets/accessible_field.h"

#include <QStyle>
#include <algorithm>

namespace velunor {

void* AccessibleField::interface_cast(QAccessible::InterfaceType type) {
    switch (type) {
        case QAccessible::TextInterface:
            return static_cast<QAccessibleTextInterface*>(this);
        case QAccessible::EditableTextInterface:
            return static_cast<QAccessibleEditableTextInterface*>(this);
        default:
            return QAccessibleWidget::interface_cast(type);
    }
}

QAccessible::State AccessibleField::state() const {
    QAccessible::State state = QAccessibleWidget::state();
    state.editable = true;
    state.passwordEdit = field().echoMode() == QLineEdit::Password;
    state.selectableText = true;
    return state;
}

QString AccessibleField::text(QAccessible::Text kind) const {
    return kind == QAccessible::Value ? field().text() : QAccessibleWidget::text(kind);
}

void AccessibleField::setText(QAccessible::Text kind, const QString& text) {
    if (kind == QAccessible::Value) {
        replaceText(0, characterCount(), text);
    }
}

void AccessibleField::selection(int index, int* start, int* end) const {
    const bool selected = index == 0 && field().hasSelectedText();
    *start = selected ? field().selectionStart() : 0;
    *end = selected ? field().selectionEnd() : 0;
}

QRect AccessibleField::characterRect(int offset) const {
    const QString text = field().text();
    if (offset < 0 || offset >= text.size()) {
        return {};
    }
    const QFontMetrics metrics = field().fontMetrics();
    const int left = metrics.horizontalAdvance(text, offset);
    const int width = metrics.horizontalAdvance(text, offset + 1) - left;
    const QRect line = field().rect().marginsRemoved(field().textMargins());
    const QRect place(line.left() + left, line.center().y() - metrics.height() / 2, width,
                      metrics.height());
    const QRect shown = QStyle::visualRect(field().layoutDirection(), line, place);
    return {field().mapToGlobal(shown.topLeft()), shown.size()};
}

QString AccessibleField::attributes(int, int* start, int* end) const {
    *start = 0;
    *end = characterCount();
    return {};
}

void AccessibleField::replaceText(int start, int end, const QString& text) {
    const int first = std::clamp(start, 0, characterCount());
    const int last = std::clamp(end, first, characterCount());
    field().setSelection(first, last - first);
    type(text);
}

}  // namespace velunor
