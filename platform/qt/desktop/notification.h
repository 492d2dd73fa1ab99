#pragma once

#include <QByteArray>
#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusPendingCall>
#include <QObject>
#include <QString>
#include <functional>
#include <utility>

namespace velunor {

/// What a desktop notification says, all of it literal text.
struct NotificationText {
    /// Who tells it.
    QString application;
    QString title;
    QString body;
};

/// One notification of the desktop, for what must not be missed. Nothing waits for the service that
/// shows it; without one nothing is shown. Main thread only.
class DesktopNotification final : public QObject {
    Q_OBJECT

  public:
    explicit DesktopNotification(QDBusConnection sessionBus) : bus_(std::move(sessionBus)) {}

    /// Shows it in place of the one before.
    void show(const NotificationText& text);
    /// Takes it back, also one that the service has yet to answer for.
    void withdraw();
    /// The same before the process ends: returns once the bus has it, or after half a second.
    void withdrawAtEnd();

  signals:
    /// The user has clicked it. The token allows a window to come to the front; it may be empty.
    void clicked(const QByteArray& token);

  private:
    Q_SLOT void takeToken(uint notification, const QString& token);
    Q_SLOT void takeAction(uint notification, const QString& action);
    void listen();
    /// Gives `take` the answer when there is one.
    void ask(const QDBusMessage& question,
             const std::function<void(const QDBusPendingCall&)>& take);
    void send(const NotificationText& text, bool bodyIsMarkup);
    void close(uint notification);

    QDBusConnection bus_;
    /// Number of the one that is shown; 0 where there is none.
    uint shown_ = 0;
    /// Counts what was asked for: an answer to something earlier shows nothing any more.
    unsigned turn_ = 0;
    QByteArray token_;
    bool listens_ = false;
};

}  // namespace velunor
