#include <QApplication>
#include <QDBusConnectionInterface>

#include "platform/qt/controls/control_adapters.h"
#include "platform/qt/desktop/appearance.h"
#include "tests/qt/desktop/fake_portal.h"
#include "tests/qt/support/widget_test.h"
#include "tests/support/temporary_directory.h"

namespace velunor {
namespace {

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
    [[nodiscard]] std::string address() const { return bus_.address(); }
    [[nodiscard]] bool becomes(bool dark, bool reduced) {
        return waitUntil(
            [&] { return currentTheme().dark == dark && isMotionReduced(widget_) == reduced; });
    }

  private:
    testing::TemporaryDirectory directory_;
    testing::Bus bus_{directory_.path()};
    QDBusConnection connection_;
    std::unique_ptr<QObject> settings_;
    QWidget widget_;
};

TEST_F(DesktopSettingsTest, TakesOverWhatTheDesktopPrefers) {
    const FakePortal portal(address(), 1, false);
    follow();

    EXPECT_TRUE(becomes(true, true));
}

TEST_F(DesktopSettingsTest, FollowsEachChange) {
    FakePortal portal(address(), 2, true);
    follow();
    EXPECT_TRUE(becomes(false, false));

    portal.change(1, false);
    EXPECT_TRUE(becomes(true, true));
    portal.change(0, true);
    EXPECT_TRUE(becomes(false, false));
}

TEST_F(DesktopSettingsTest, StaysAsItIsWithoutAPortal) {
    follow();
    EXPECT_TRUE(becomes(false, false));

    // One that comes later is heard when it tells of a change.
    FakePortal portal(address(), 0, true);
    portal.change(1, true);
    EXPECT_TRUE(becomes(true, false));
}

TEST_F(DesktopSettingsTest, PulsesInsteadOfShaking) {
    const FakePortal portal(address(), 0, false);
    follow();
    ASSERT_TRUE(becomes(false, true));
    QWidget parent;
    CustomSecureTextField widget(&parent);
    widget.setGeometry(30, 10, 200, 40);
    QtSecureField field(widget);
    field.setWantsLayer(true);
    const QImage resting = widget.grab().toImage();
    bool moved = false;
    bool coloured = false;
    const auto look = [&] {
        moved = moved || widget.pos() != QPoint(30, 10);
        return widget.grab().toImage();
    };

    field.layer()->addAnimation({"transform", {-10, 10}, true, 2, std::chrono::milliseconds(70)});
    coloured = waitUntil([&] {
        // In the middle of the outline's upper edge.
        const QColor edge = look().pixelColor(100, 0);
        return edge == currentTheme().refused;
    });
    const bool rests = waitUntil([&] { return look() == resting; });

    EXPECT_TRUE(coloured);
    EXPECT_TRUE(rests);
    EXPECT_FALSE(moved);
}

}  // namespace
}  // namespace velunor
