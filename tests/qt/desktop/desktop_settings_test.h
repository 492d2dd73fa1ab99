#pragma once

#include <QApplication>
#include <QDBusConnectionInterface>
#include <QDBusPendingCallWatcher>
#include <memory>
#include <string>

#include "platform/qt/controls/control_adapters.h"
#include "platform/qt/desktop/appearance.h"
#include "platform/qt/desktop/desktop_settings.h"
#include "tests/qt/support/widget_test.h"
#include "tests/support/desktop/fake_portal.h"
#include "tests/support/temporary_directory.h"

namespace velunor {

/// Tests of what follows the desktop's settings, with a bus of their own.
class DesktopSettingsTest : public ::testing::Test {
  protected:
    DesktopSettingsTest()
        : connection_(QDBusConnection::connectToBus(QString::fromStdString(bus_.address()),
                                                    "desktop settings")) {}
    void TearDown() override {
        settings_.reset();
        QDBusConnection::disconnectFromBus("desktop settings");
        QApplication::setPalette(QPalette());
    }
    void follow() {
        settings_ = followDesktopSettings(connection_);
        // The bus has taken note of it once it answers a later question.
        static_cast<void>(connection_.interface()->isServiceRegistered("org.example.Nobody"));
    }
    void unfollow() { settings_.reset(); }
    /// Tells of one setting alone, as a portal does that knows no other.
    void tell(const QString& group, const QString& key, const QVariant& value) {
        QDBusMessage news = QDBusMessage::createSignal(
            "/org/freedesktop/portal/desktop", "org.freedesktop.portal.Settings", "SettingChanged");
        news << group << key << QVariant::fromValue(QDBusVariant(value));
        connection_.send(news);
    }
    /// How many are asked and not done with.
    [[nodiscard]] qsizetype questions() const {
        return settings_->findChildren<QDBusPendingCallWatcher*>().size();
    }
    [[nodiscard]] const QWidget& widget() const { return widget_; }
    [[nodiscard]] std::string address() const { return bus_.address(); }
    [[nodiscard]] bool becomes(bool dark, bool reduced) {
        return waitUntil(
            [&] { return currentTheme().dark == dark && isMotionReduced(widget_) == reduced; });
    }

    /// Whether texts get so many times the size that they had before the test.
    [[nodiscard]] bool textsBecome(double scale) const {
        return waitUntil([&] { return QApplication::font().pointSizeF() == usualSize_ * scale; });
    }

  private:
    const double usualSize_ = QApplication::font().pointSizeF();
    testing::TemporaryDirectory directory_;
    testing::PrivateBus bus_{directory_.path()};
    QDBusConnection connection_;
    std::unique_ptr<QObject> settings_;
    QWidget widget_;
};

}  // namespace velunor
