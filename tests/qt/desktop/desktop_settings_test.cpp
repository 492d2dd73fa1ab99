#include "tests/qt/desktop/desktop_settings_test.h"

namespace velunor {
namespace {

using testing::FakePortal;

TEST_F(DesktopSettingsTest, TakesOverWhatTheDesktopPrefers) {
    const FakePortal portal(address(), {.colorScheme = 1, .animations = false});
    follow();

    EXPECT_TRUE(becomes(true, true));
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

}  // namespace
}  // namespace velunor
