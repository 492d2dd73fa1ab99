#pragma once

#include <QAccessible>
#include <QAccessibleWidget>
#include <QString>

#include "platform/qt/widgets/text_fields.h"

namespace velunor {

/// What assistive technologies meet for a field: a line of text that they may read, select and
/// edit, of one look from its first character to its last. The toolkit's own has no such run of
/// characters, and screen readers leave out the last one. Main thread only.
class AccessibleField : public QAccessibleWidget,
                        public QAccessibleTextInterface,
                        public QAccessibleEditableTextInterface {
  public:
    explicit AccessibleField(RoundedField* field)
        : QAccessibleWidget(field, QAccessible::EditableText) {}

    void* interface_cast(QAccessible::InterfaceType type) override;

    [[nodiscard]] QAccessible::State state() const override;
    [[nodiscard]] QString text(QAccessible::Text kind) const override;
    void setText(QAccessible::Text kind, const QString& text) override;

    void selection(int index, int* start, int* end) const override;
    [[nodiscard]] int selectionCount() const override { return field().hasSelectedText() ? 1 : 0; }
    void addSelection(int start, int end) override { field().setSelection(start, end - start); }
    void removeSelection(int) override { field().deselect(); }
    void setSelection(int, int start, int end) override { addSelection(start, end); }
    [[nodiscard]] int cursorPosition() const override { return field().cursorPosition(); }
    void setCursorPosition(int position) override { field().setCursorPosition(position); }
    [[nodiscard]] QString text(int start, int end) const override {
        return field().text().mid(start, end - start);
    }
    [[nodiscard]] int characterCount() const override {
        return static_cast<int>(field().text().size());
    }
    [[nodiscard]] QRect characterRect(int offset) const override;
    [[nodiscard]] int offsetAtPoint(const QPoint& point) const override {
        return field().cursorPositionAt(field().mapFromGlobal(point));
    }
    void scrollToSubstring(int start, int) override { field().setCursorPosition(start); }
    QString attributes(int, int* start, int* end) const override;

    void deleteText(int start, int end) override { replaceText(start, end, {}); }
    void insertText(int offset, const QString& text) override { replaceText(offset, offset, text); }
    void replaceText(int start, int end, const QString& text) override;

  protected:
    /// Types `text` in place of what is selected.
    virtual void type(const QString& text) { field().insert(text); }

  private:
    [[nodiscard]] RoundedField& field() const { return *static_cast<RoundedField*>(widget()); }
};

}  // namespace velunor
