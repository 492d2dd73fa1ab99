#include "platform/qt/accessibility/accessibility.h"

#include <QAccessibleObject>
#include <QCoreApplication>
#include <utility>

namespace velunor {
namespace {

/// A screen reader asks for a text some time after it was told of it; until then it has to stay.
constexpr int utterancesKept = 4;

/// One text that was said. Each has an object of its own: what a screen reader asks of the object
/// that it was told of is never the text of a later one.
class Utterance final : public QObject {
    Q_OBJECT

  public:
    Utterance(QString text, QObject* parent);

    [[nodiscard]] const QString& text() const { return text_; }

  private:
    QString text_;
};

/// A notification that belongs to the program and to none of its windows. Below a dialogue, screen
/// readers would read the whole dialogue out before it.
class AccessibleUtterance final : public QAccessibleObject {
  public:
    explicit AccessibleUtterance(Utterance* utterance) : QAccessibleObject(utterance) {}

    [[nodiscard]] QAccessibleInterface* parent() const override {
        return QAccessible::queryAccessibleInterface(QCoreApplication::instance());
    }
    [[nodiscard]] QAccessibleInterface* child(int) const override { return nullptr; }
    [[nodiscard]] int childCount() const override { return 0; }
    int indexOfChild(const QAccessibleInterface*) const override { return -1; }
    [[nodiscard]] QString text(QAccessible::Text kind) const override {
        return kind == QAccessible::Name ? static_cast<Utterance*>(object())->text() : QString();
    }
    [[nodiscard]] QAccessible::Role role() const override { return QAccessible::Notification; }
    [[nodiscard]] QAccessible::State state() const override { return {}; }
};

Utterance::Utterance(QString text, QObject* parent) : QObject(parent), text_(std::move(text)) {
    installAccessible<Utterance, AccessibleUtterance>();
}

}  // namespace

void prepareAccessibility() {
    constexpr const char* busVariable = "AT_SPI_BUS_ADDRESS";
    if (!qEnvironmentVariableIsEmpty(busVariable)) {
        // The toolkit connects to a bus that it is told of before it listens to itself, and never
        // notices that it has one. By way of the session bus it finds the same one, and then it
        // would leave it alone unless somebody has asked for accessibility.
        qunsetenv(busVariable);
        qputenv("QT_LINUX_ACCESSIBILITY_ALWAYS_ON", "1");
    }
}

void Announcer::announce(const QString& text, [[maybe_unused]] bool isUrgent) {
    if (text.isEmpty()) {
        return;
    }
    if (children().size() == utterancesKept) {
        delete children().constFirst();
    }
    auto* utterance = new Utterance(text, this);
#if QT_VERSION >= QT_VERSION_CHECK(6, 8, 0)
    QAccessibleAnnouncementEvent event(utterance, text);
    event.setPoliteness(isUrgent ? QAccessible::AnnouncementPoliteness::Assertive
                                 : QAccessible::AnnouncementPoliteness::Polite);
    QAccessible::updateAccessibility(&event);
#else
    // Screen readers read a notification out when it comes into sight.
    QAccessibleEvent shown(utterance, QAccessible::ObjectShow);
    QAccessible::updateAccessibility(&shown);
#endif
}

QString Announcer::lastText() const {
    return children().isEmpty() ? QString()
                                : static_cast<Utterance*>(children().constLast())->text();
}

}  // namespace velunor

#include "accessibility.moc"
