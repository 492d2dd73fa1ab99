#include "platform/qt/accessibility/announcer.h"

#include <QAccessible>
#include <QAccessibleWidget>

namespace velunor {

namespace {

class AccessibleAnnouncer : public QAccessibleWidget {
  public:
    explicit AccessibleAnnouncer(Announcer* announcer)
        : QAccessibleWidget(announcer, QAccessible::Notification) {}

    [[nodiscard]] QString text(QAccessible::Text kind) const override {
        return kind == QAccessible::Name ? static_cast<Announcer*>(widget())->spoken()
                                         : QAccessibleWidget::text(kind);
    }
};

QAccessibleInterface* makeAccessible(const QString&, QObject* object) {
    auto* announcer = qobject_cast<Announcer*>(object);
    return announcer == nullptr ? nullptr : new AccessibleAnnouncer(announcer);
}

}  // namespace

Announcer::Announcer(QWidget* window) : QWidget(window) {
    static const bool installed = [] {
        QAccessible::installFactory(&makeAccessible);
        return true;
    }();
    Q_UNUSED(installed);
    // It counts as shown only with an area of its own; nothing is painted there.
    setGeometry(0, 0, 1, 1);
    setAttribute(Qt::WA_TransparentForMouseEvents);
    lower();
}

void Announcer::announce(const QString& text) {
    if (text.isEmpty()) {
        return;
    }
    spoken_ = text;
    QAccessibleEvent named(this, QAccessible::NameChanged);
    QAccessible::updateAccessibility(&named);
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
