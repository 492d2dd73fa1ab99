#include "platform/qt/desktop/notification.h"

#include <QDBusPendingCallWatcher>
#include <QDBusPendingReply>
#include <QGuiApplication>
#include <QVariantMap>
#include <utility>

namespace velunor {
namespace {

constexpr const char* service = "org.freedesktop.Notifications";
constexpr const char* object = "/org/freedesktop/Notifications";
constexpr const char* interface = "org.freedesktop.Notifications";
/// What a click on the notification itself stands for.
constexpr const char* defaultAction = "default";

QDBusMessage callOf(const char* method) {
    return QDBusMessage::createMethodCall(service, object, interface, method);
}

}  // namespace

void DesktopNotification::show(const NotificationText& text) {
    withdraw();
    listen();
    ask(callOf("GetCapabilities"), [this, text, turn = turn_](const QDBusPendingCall& answer) {
        const QDBusPendingReply<QStringList> capabilities = answer;
        if (capabilities.isValid() && turn == turn_) {
            send(text, capabilities.value().contains("body-markup"));
        }
    });
}

void DesktopNotification::ask(const QDBusMessage& question,
                              const std::function<void(const QDBusPendingCall&)>& take) {
    connect(new QDBusPendingCallWatcher(bus_.asyncCall(question), this),
            &QDBusPendingCallWatcher::finished, this, [take](QDBusPendingCallWatcher* answer) {
                take(*answer);
                answer->deleteLater();
            });
    // NOLINTNEXTLINE(clang-analyzer-cplusplus.NewDeleteLeaks): this object owns what waits.
}

void DesktopNotification::send(const NotificationText& text, bool bodyIsMarkup) {
    constexpr uint nothingBefore = 0;
    constexpr int untilWithdrawn = 0;
    // Others are kept back while a window fills the screen.
    constexpr uchar critical = 2;
    const QString name = QGuiApplication::desktopFileName();
    const QVariantMap hints{{"desktop-entry", name}, {"urgency", QVariant::fromValue(critical)}};
    QDBusMessage call = callOf("Notify");
    call << text.application << nothingBefore << name << text.title
         << (bodyIsMarkup ? text.body.toHtmlEscaped() : text.body)
         << QStringList{defaultAction, text.title} << hints << untilWithdrawn;
    ask(call, [this, turn = turn_](const QDBusPendingCall& answer) {
        const QDBusPendingReply<uint> number = answer;
        if (number.isValid() && turn == turn_) {
            shown_ = number.value();
        } else if (number.isValid()) {
            close(number.value());
        }
    });
}

void DesktopNotification::withdraw() {
    ++turn_;
    token_.clear();
    if (const uint shown = std::exchange(shown_, 0); shown != 0) {
        close(shown);
    }
}

void DesktopNotification::withdrawAtEnd() {
    if (shown_ == 0) {
        return;
    }
    withdraw();
    // A thread of the toolkit writes what is sent. The bus itself answers what comes after it,
    // whatever the service does.
    constexpr int longestWait = 500;
    bus_.call(QDBusMessage::createMethodCall("org.freedesktop.DBus", "/org/freedesktop/DBus",
                                             "org.freedesktop.DBus", "GetId"),
              QDBus::Block, longestWait);
}

void DesktopNotification::close(uint notification) {
    bus_.send(callOf("CloseNotification") << notification);
}

void DesktopNotification::listen() {
    if (!std::exchange(listens_, true)) {
        // From any sender: to name one the toolkit would have to wait for the bus.
        bus_.connect(QString(), object, interface, "ActivationToken", this,
                     SLOT(takeToken(uint, QString)));
        bus_.connect(QString(), object, interface, "ActionInvoked", this,
                     SLOT(takeAction(uint, QString)));
    }
}

void DesktopNotification::takeToken(uint notification, const QString& token) {
    if (notification == shown_) {
        token_ = token.toUtf8();
    }
}

void DesktopNotification::takeAction(uint notification, const QString& action) {
    if (notification == shown_ && action == QLatin1String(defaultAction)) {
        emit clicked(std::exchange(token_, {}));
    }
}

}  // namespace velunor
