#include "platform/qt/accessibility/accessibility.h"

namespace velunor {

Announcer::Announcer(QWidget* window) : QWidget(window) {
    installAccessible<Announcer, AccessibleOfRole<QAccessible::Notification>>();
    // It counts as shown only with an area of its own; nothing is painted there.
    setGeometry(0, 0, 1, 1);
    setAttribute(Qt::WA_TransparentForMouseEvents);
    lower();
}

void Announcer::announce(const QString& text) {
    if (text.isEmpty()) {
        return;
    }
    setAccessibleName(text);
#if QT_VERSION >= QT_VERSION_CHECK(6, 8, 0)
    QAccessibleAnnouncementEvent event(this, text);
    QAccessible::updateAccessibility(&event);
#else
    // Screen readers read a notification out when it comes into sight.
    QAccessibleEvent shown(this, QAccessible::ObjectShow);
    QAccessible::updateAccessibility(&shown);
#endif
}

}  // namespace velunor
