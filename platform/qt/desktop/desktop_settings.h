#pragma once

#include <QDBusConnection>
#include <QDBusVariant>
#include <QObject>
#include <QString>
#include <QWidget>

namespace velunor {

/// Whether `widget` should not move by itself: the desktop's style or its settings ask for less
/// motion. Main thread only.
[[nodiscard]] bool isMotionReduced(const QWidget& widget);

/// Whether the session says where its bus is. Where it does not, asking for the bus would start
/// one.
[[nodiscard]] bool hasSessionBus();

/// Follows what the desktop portal tells of the user's settings and the toolkit does not: the light
/// or dark scheme, which becomes the application's palette, and reduced motion. Nothing waits for
/// the portal; without one everything stays as the toolkit has it. Main thread only.
class DesktopSettings final : public QObject {
    Q_OBJECT

  public:
    /// `bus` is the session bus.
    explicit DesktopSettings(QDBusConnection bus, QObject* parent = nullptr);
    /// Leaves the toolkit's own palette and motion behind.
    ~DesktopSettings() override;
    DesktopSettings(const DesktopSettings&) = delete;
    DesktopSettings& operator=(const DesktopSettings&) = delete;

  private:
    Q_SLOT void take(const QString& group, const QString& key, const QDBusVariant& value);
    void ask(const QString& group, const QString& key);

    QDBusConnection bus_;
};

}  // namespace velunor
