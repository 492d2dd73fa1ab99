#pragma once

#include <QAccessible>
#include <QAccessibleWidget>
#include <QWidget>

namespace velunor {

/// Makes assistive technologies meet each `Widget` as an `Accessible`, which is made of a pointer
/// to it. Called in the widget's constructor; only the first call has an effect. Main thread only.
template <class Widget, class Accessible>
void installAccessible() {
    [[maybe_unused]] static const bool installed = [] {
        QAccessible::installFactory([](const QString&, QObject* object) -> QAccessibleInterface* {
            auto* widget = qobject_cast<Widget*>(object);
            return widget == nullptr ? nullptr : new Accessible(widget);
        });
        return true;
    }();
}

/// What assistive technologies meet for a widget of which only the role is its own.
template <QAccessible::Role ownRole>
class AccessibleOfRole final : public QAccessibleWidget {
  public:
    explicit AccessibleOfRole(QWidget* widget) : QAccessibleWidget(widget, ownRole) {}
};

/// Speaks to assistive technologies without moving the focus: an invisible part of a window that
/// they meet as a notification. Main thread only.
class Announcer final : public QWidget {
    Q_OBJECT

  public:
    explicit Announcer(QWidget* window);

    /// Says `text` once, and has it as its name from then on; nothing when it is empty.
    void announce(const QString& text);
};

}  // namespace velunor
