#include <QAccessible>
#include <QAccessibleWidget>
#include <algorithm>

#include "platform/qt/accessibility/accessibility.h"
#include "platform/qt/password_field/secure_text_field.h"

namespace velunor {
namespace {

/// The toolkit's own description of an editor would write what an assistive technology enters
/// straight into the editor's text.
class AccessibleSecureField final : public QAccessibleWidget,
                                    public QAccessibleTextInterface,
                                    public QAccessibleEditableTextInterface {
  public:
    explicit AccessibleSecureField(CustomSecureTextField* field)
        : QAccessibleWidget(field, QAccessible::EditableText) {}

    void* interface_cast(QAccessible::InterfaceType type) override {
        switch (type) {
            case QAccessible::TextInterface:
                return static_cast<QAccessibleTextInterface*>(this);
            case QAccessible::EditableTextInterface:
                return static_cast<QAccessibleEditableTextInterface*>(this);
            default:
                return QAccessibleWidget::interface_cast(type);
        }
    }

    [[nodiscard]] QAccessible::State state() const override {
        QAccessible::State state = QAccessibleWidget::state();
        state.editable = true;
        state.passwordEdit = true;
        state.selectableText = true;
        return state;
    }
    [[nodiscard]] QString text(QAccessible::Text kind) const override {
        if (kind == QAccessible::Value) {
            return field().text();
        }
        QString text = QAccessibleWidget::text(kind);
        if (kind == QAccessible::Description && field().hintsAtCapsLock()) {
            const QString& hint = field().capsLockText();
            return text.isEmpty() ? hint : hint + '\n' + text;
        }
        return text;
    }
    void setText(QAccessible::Text kind, const QString& text) override {
        if (kind == QAccessible::Value) {
            replaceText(0, field().length(), text);
        }
    }

    void selection(int index, int* start, int* end) const override {
        const bool selected = index == 0 && field().hasSelectedText();
        *start = selected ? field().selectionStart() : 0;
        *end = selected ? field().selectionEnd() : 0;
    }
    [[nodiscard]] int selectionCount() const override { return field().hasSelectedText() ? 1 : 0; }
    void addSelection(int start, int end) override { setSelection(0, start, end); }
    void removeSelection(int) override { field().deselect(); }
    void setSelection(int, int start, int end) override {
        field().setSelection(start, end - start);
    }
    [[nodiscard]] int cursorPosition() const override { return field().cursorPosition(); }
    void setCursorPosition(int position) override { field().setCursorPosition(position); }
    [[nodiscard]] QString text(int start, int end) const override {
        return field().text().mid(start, end - start);
    }
    [[nodiscard]] int characterCount() const override { return field().length(); }
    [[nodiscard]] QRect characterRect(int) const override { return {}; }
    [[nodiscard]] int offsetAtPoint(const QPoint& point) const override {
        return field().cursorPositionAt(field().mapFromGlobal(point));
    }
    void scrollToSubstring(int start, int) override { field().setCursorPosition(start); }
    QString attributes(int offset, int* start, int* end) const override {
        *start = offset;
        *end = offset;
        return {};
    }

    void deleteText(int start, int end) override { replaceText(start, end, {}); }
    void insertText(int offset, const QString& text) override { replaceText(offset, offset, text); }
    void replaceText(int start, int end, const QString& text) override {
        const int first = std::clamp(start, 0, field().length());
        const int last = std::clamp(end, first, field().length());
        field().setCursorPosition(first);
        if (last > first) {
            field().setSelection(first, last - first);
        }
        field().type(text);
    }

  private:
    [[nodiscard]] CustomSecureTextField& field() const {
        return *static_cast<CustomSecureTextField*>(widget());
    }
};

}  // namespace

void CustomSecureTextField::describeFields() {
    installAccessible<CustomSecureTextField, AccessibleSecureField>();
}

}  // namespace velunor
