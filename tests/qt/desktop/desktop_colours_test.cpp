// What the desktop's colour scheme and contrast make of the theme.

#include <QProxyStyle>

#include "tests/qt/desktop/desktop_settings_test.h"

namespace velunor {
namespace {

using testing::FakePortal;
using DesktopColoursTest = DesktopSettingsTest;

TEST_F(DesktopColoursTest, TextsOfTheDarkSchemeAreLightOnItsGround) {
    const FakePortal portal(address(), {.colorScheme = 1});
    follow();
    ASSERT_TRUE(becomes(true, false));
    const QPalette palette = QApplication::palette();
    EXPECT_EQ(palette.color(QPalette::Window), QColor(0x24, 0x28, 0x30));
    for (const auto role : {QPalette::WindowText, QPalette::Text, QPalette::ButtonText}) {
        EXPECT_EQ(palette.color(role), QColor(0xF0, 0xF3, 0xF8));
    }
}

TEST_F(DesktopColoursTest, LightSchemeLeavesTheToolkitsOwnColoursWhereTheyAreLight) {
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

TEST_F(DesktopColoursTest, TextsOfTheLightSchemeAreDarkOnItsGroundWhereTheToolkitIsDark) {
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

TEST_F(DesktopColoursTest, TakesHighContrastFromEitherSetting) {
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

TEST_F(DesktopColoursTest, TakesHighContrastFromThePortalsFirstAnswers) {
    const FakePortal portal(address(), {.highContrast = true});
    follow();
    EXPECT_TRUE(waitUntil([] { return currentTheme().highContrast; }));
}

TEST_F(DesktopColoursTest, ContrastOfOneNameAloneIsNotThatOfTheOther) {
    follow();
    tell("org.gnome.desktop.a11y.interface", "high-contrast", false);
    tell("org.gnome.desktop.interface", "text-scaling-factor", 1.25);
    EXPECT_TRUE(textsBecome(1.25));
    EXPECT_FALSE(currentTheme().highContrast);
}

}  // namespace
}  // namespace velunor
