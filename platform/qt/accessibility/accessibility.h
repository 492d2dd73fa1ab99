#pragma once

#include <QAccessible>
#include <QAccessibleWidget>
#include <QString>
#include <QWidget>

namespace velunor {

/// Lets the toolkit meet assistive technologies also where the environment names their bus. Called
/// before the application object is made, while the process has one thread.
void prepareAccessibility();

/// Makes assistive technologies meet each `Object` as an `Accessible`, which is made of a pointer
/// to it. Called in the object's constructor; only the first call has an effect. Main thread only.
template <class Object, class Accessible>
void installAccessible() {
    [[maybe_unused]] static const bool installed = [] {
        QAccessible::installFactory([](const QString&, QObject* object) -> QAccessibleInterface* {
            auto* own = qobject_cast<Object*>(object);
            return own == nullptr ? nullptr : new Accessible(own);
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

/// Speaks to assistive technologies without moving the focus. Main thread only.
class Announcer final : public QObject {
    Q_OBJECT

  public:
    using QObject::QObject;

    /// Says `text` once; nothing when it is empty. `isUrgent` is for what the user waits for: it
    /// goes before what is still to be said, where the toolkit can tell that.
    void announce(const QString& text, bool isUrgent = false);
    /// What was said last; empty while nothing was.
    [[nodiscard]] QString lastText() const;
};

}  // namespace velunor
