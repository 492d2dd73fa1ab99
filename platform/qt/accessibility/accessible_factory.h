#pragma once

#include <QAccessible>
#include <QAccessibleWidget>

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

}  // namespace velunor
