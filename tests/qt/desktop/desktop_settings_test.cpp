#include "platform/qt/desktop/desktop_settings.h"

#include <QApplication>
#include <QDBusConnectionInterface>
#include <QDBusPendingCallWatcher>
#include <QProxyStyle>

#include "platform/qt/controls/control_adapters.h"
#include "platform/qt/desktop/appearance.h"
#include "tests/qt/support/widget_test.h"
#include "tests/support/desktop/fake_portal.h"
#include "tests/support/temporary_directory.h"

namespace velunor {
namespace {

using testing::FakePortal;

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

TEST_F(DesktopSettingsTest, TakesOverWhatTheDesktopPrefers) {
    const FakePortal portal(address(), {.colorScheme = 1, .animations = false});
    follow();

    EXPECT_TRUE(becomes(true, true));
}

TEST_F(DesktopSettingsTest, TextsOfTheDarkSchemeAreLightOnItsGround) {
    const FakePortal portal(address(), {.colorScheme = 1});
    follow();
    ASSERT_TRUE(becomes(true, false));
    const QPalette palette = QApplication::palette();
    EXPECT_EQ(palette.color(QPalette::Window), QColor(0x24, 0x28, 0x30));
    for (const auto role : {QPalette::WindowText, QPalette::Text, QPalette::ButtonText}) {
        EXPECT_EQ(palette.color(role), QColor(0xF0, 0xF3, 0xF8));
    }
}

TEST_F(DesktopSettingsTest, QuestionsAreForgottenWithTheirAnswers) {
    const FakePortal portal(address());
    follow();
    EXPECT_EQ(questions(), 5);
    EXPECT_TRUE(waitUntil([&] { return questions() == 0; }));
}

TEST_F(DesktopSettingsTest, FollowsEachChange) {
    FakePortal portal(address(), {.colorScheme = 2});
    follow();
    EXPECT_TRUE(becomes(false, false));

    portal.change({.colorScheme = 1, .animations = false});
    EXPECT_TRUE(becomes(true, true));
    portal.change({});
    EXPECT_TRUE(becomes(false, false));
}

TEST_F(DesktopSettingsTest, StaysAsItIsWithoutAPortal) {
    follow();
    EXPECT_TRUE(becomes(false, false));

    // One that comes later is heard when it tells of a change.
    FakePortal portal(address());
    portal.change({.colorScheme = 1});
    EXPECT_TRUE(becomes(true, false));
}

TEST_F(DesktopSettingsTest, TakesHighContrastFromEitherSetting) {
    FakePortal portal(address(), {.contrast = 1});
    follow();
    const auto becomesStrong = [](bool strong) {
        return waitUntil([strong] { return currentTheme().highContrast == strong; });
    };
    EXPECT_TRUE(becomesStrong(true));

    portal.change({.contrast = 0});
    EXPECT_TRUE(becomesStrong(false));
    portal.change({.contrast = 0, .highContrast = true});
    EXPECT_TRUE(becomesStrong(true));
    portal.change({.colorScheme = 1, .contrast = 1});
    EXPECT_TRUE(waitUntil([] { return currentTheme().highContrast && currentTheme().dark; }));
}

TEST_F(DesktopSettingsTest, TakesHighContrastFromThePortalsFirstAnswers) {
    const FakePortal portal(address(), {.highContrast = true});
    follow();
    EXPECT_TRUE(waitUntil([] { return currentTheme().highContrast; }));
}

TEST_F(DesktopSettingsTest, TakesEachSettingAloneAndNoneOfOtherNames) {
    follow();
    const auto becomesStrong = [](bool strong) {
        return waitUntil([strong] { return currentTheme().highContrast == strong; });
    };
    tell("org.freedesktop.appearance", "contrast", 1U);
    EXPECT_TRUE(becomesStrong(true));
    tell("org.freedesktop.appearance", "contrast", 0U);
    EXPECT_TRUE(becomesStrong(false));
    tell("org.gnome.desktop.a11y.interface", "high-contrast", true);
    EXPECT_TRUE(becomesStrong(true));
    tell("org.gnome.desktop.a11y.interface", "high-contrast", false);
    EXPECT_TRUE(becomesStrong(false));

    tell("org.freedesktop.appearance", "high-contrast", true);
    tell("org.gnome.desktop.interface", "contrast", 1U);
    tell("org.gnome.desktop.interface", "color-scheme", 1U);
    tell("org.freedesktop.appearance", "text-scaling-factor", 2.0);
    // Only a yes or no says whether something moves.
    tell("org.gnome.desktop.interface", "enable-animations", 0U);
    tell("org.gnome.desktop.interface", "text-scaling-factor", 1.25);
    EXPECT_TRUE(textsBecome(1.25));
    EXPECT_FALSE(currentTheme().highContrast || currentTheme().dark || isMotionReduced(widget()));
}

TEST_F(DesktopSettingsTest, ContrastOfOneNameAloneIsNotThatOfTheOther) {
    follow();
    tell("org.gnome.desktop.a11y.interface", "high-contrast", false);
    tell("org.gnome.desktop.interface", "text-scaling-factor", 1.25);
    EXPECT_TRUE(textsBecome(1.25));
    EXPECT_FALSE(currentTheme().highContrast);
}

TEST_F(DesktopSettingsTest, LightSchemeLeavesTheToolkitsOwnColoursWhereTheyAreLight) {
    const QPalette before = QApplication::palette();
    FakePortal portal(address(), {.colorScheme = 1});
    follow();
    ASSERT_TRUE(becomes(true, false));
    portal.change({.colorScheme = 2});
    ASSERT_TRUE(becomes(false, false));
    EXPECT_EQ(QApplication::palette(), before);
}

/// A style that is dark by itself.
class DarkStyle final : public QProxyStyle {
  public:
    using QProxyStyle::polish;
    void polish(QPalette& palette) override {
        palette.setColor(QPalette::Window, QColor(0x30, 0x30, 0x30));
        palette.setColor(QPalette::WindowText, Qt::white);
    }
};

TEST_F(DesktopSettingsTest, TextsOfTheLightSchemeAreDarkOnItsGroundWhereTheToolkitIsDark) {
    const QString usual = QApplication::style()->name();
    QApplication::setStyle(new DarkStyle);
    // NOLINTNEXTLINE(clang-analyzer-cplusplus.NewDeleteLeaks): the application owns its style.
    QApplication::setPalette(QPalette());
    ASSERT_TRUE(currentTheme().dark);
    FakePortal portal(address(), {.colorScheme = 2});
    follow();
    ASSERT_TRUE(becomes(false, false));
    const QPalette palette = QApplication::palette();
    EXPECT_EQ(palette.color(QPalette::Window), QColor(0xF2, 0xF3, 0xF5));
    EXPECT_EQ(palette.color(QPalette::WindowText), QColor(0x18, 0x20, 0x2F));
    // No preference is the toolkit's.
    portal.change({});
    EXPECT_TRUE(becomes(true, false));
    QApplication::setStyle(usual);
}

TEST_F(DesktopSettingsTest, TakesTheSizeOfTexts) {
    FakePortal portal(address(), {.textScale = 1.5});
    follow();
    EXPECT_TRUE(textsBecome(1.5));

    portal.change({.textScale = 1.25});
    EXPECT_TRUE(textsBecome(1.25));
    // No desktop means that.
    portal.change({.textScale = 40});
    EXPECT_TRUE(textsBecome(1));
}

TEST_F(DesktopSettingsTest, TakesTheSmallestAndTheLargestSizeThatADesktopOffers) {
    FakePortal portal(address(), {.textScale = 0.5});
    follow();
    EXPECT_TRUE(textsBecome(0.5));
    portal.change({.textScale = 0.49});
    EXPECT_TRUE(textsBecome(1));
    portal.change({.textScale = 3});
    EXPECT_TRUE(textsBecome(3));
    portal.change({.textScale = 3.01});
    EXPECT_TRUE(textsBecome(1));
}

TEST_F(DesktopSettingsTest, TakesTheSizeOfTextsInPixelsToo) {
    const QFont before = QApplication::font();
    QFont font = before;
    font.setPixelSize(15);
    QApplication::setFont(font);
    const FakePortal portal(address(), {.textScale = 1.5});
    follow();
    EXPECT_TRUE(waitUntil([] { return QApplication::font().pixelSize() == 23; }));
    unfollow();
    EXPECT_EQ(QApplication::font().pixelSize(), 15);
    QApplication::setFont(before);
}

TEST_F(DesktopSettingsTest, LeavesNothingBehind) {
    const QFont before = QApplication::font();
    const FakePortal portal(address(), {.animations = false, .contrast = 1, .textScale = 2});
    follow();
    ASSERT_TRUE(waitUntil([&] {
        return currentTheme().highContrast && QApplication::font() != before &&
               isMotionReduced(widget());
    }));
    unfollow();
    EXPECT_FALSE(currentTheme().highContrast);
    EXPECT_EQ(QApplication::font(), before);
    EXPECT_FALSE(isMotionReduced(widget()));
}

/// A style whose animations take so many milliseconds.
class StyleOf final : public QProxyStyle {
  public:
    explicit StyleOf(int duration) : duration_(duration) {}
    int styleHint(StyleHint hint, const QStyleOption* option, const QWidget* widget,
                  QStyleHintReturn* answer) const override {
        return hint == SH_Widget_Animation_Duration
                   ? duration_
                   : QProxyStyle::styleHint(hint, option, widget, answer);
    }

  private:
    int duration_;
};

TEST(MotionTest, IsReducedWhereTheStyleHasNoTimeForIt) {
    for (const int duration : {-1, 0, 1}) {
        StyleOf style(duration);
        QWidget widget;
        widget.setStyle(&style);
        EXPECT_EQ(isMotionReduced(widget), duration < 1) << duration;
    }
}

TEST(SessionBusTest, IsTheOneThatIsNamedOrTheUsersOwn) {
    const QByteArray address = qgetenv("DBUS_SESSION_BUS_ADDRESS");
    const QByteArray runtime = qgetenv("XDG_RUNTIME_DIR");
    const testing::TemporaryDirectory directory;
    qputenv("XDG_RUNTIME_DIR", directory.path().c_str());
    qputenv("DBUS_SESSION_BUS_ADDRESS", "unix:path=/anything");
    EXPECT_TRUE(hasSessionBus());
    qunsetenv("DBUS_SESSION_BUS_ADDRESS");
    EXPECT_FALSE(hasSessionBus());
    directory.write("bus", "");
    EXPECT_TRUE(hasSessionBus());
    qputenv("DBUS_SESSION_BUS_ADDRESS", address);
    runtime.isEmpty() ? qunsetenv("XDG_RUNTIME_DIR") : qputenv("XDG_RUNTIME_DIR", runtime);
}

TEST_F(DesktopSettingsTest, PulsesInsteadOfShaking) {
    const FakePortal portal(address(), {.animations = false});
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
