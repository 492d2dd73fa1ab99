#include "platform/qt/desktop/theme.h"

#include <QGuiApplication>

namespace velunor {

namespace {

Theme makeLightTheme() {
    Theme theme;
    theme.card = QColor(0xFF, 0xFF, 0xFF);
    theme.cardBorder = QColor(0xC9, 0xD0, 0xDB);
    theme.panel = QColor(0xF4, 0xF6, 0xFA);
    theme.text = QColor(0x18, 0x20, 0x2F);
    theme.secondaryText = QColor(0x52, 0x5D, 0x73);
    theme.link = QColor(0x1A, 0x56, 0xC4);
    theme.linkHover = QColor(0xE2, 0xE9, 0xF6);
    theme.accent = QColor(0x1D, 0x5C, 0xCE);
    theme.accentHover = QColor(0x19, 0x4F, 0xB3);
    theme.accentPressed = QColor(0x14, 0x41, 0x95);
    theme.onAccent = QColor(0xFF, 0xFF, 0xFF);
    theme.button = QColor(0xFF, 0xFF, 0xFF);
    theme.buttonHover = QColor(0xF0, 0xF3, 0xF8);
    theme.buttonPressed = QColor(0xE2, 0xE7, 0xEF);
    theme.buttonBorder = QColor(0x84, 0x8E, 0xA1);
    theme.field = QColor(0xFF, 0xFF, 0xFF);
    theme.fieldBorder = QColor(0x84, 0x8E, 0xA1);
    theme.notice = QColor(0xFF, 0xF3, 0xD9);
    theme.noticeBorder = QColor(0xEB, 0xCB, 0x85);
    theme.noticeText = QColor(0x5B, 0x3B, 0x00);
    theme.refused = QColor(0xC4, 0x2B, 0x1C);
    return theme;
}

Theme makeDarkTheme() {
    Theme theme;
    theme.dark = true;
    theme.card = QColor(0x20, 0x25, 0x2F);
    theme.cardBorder = QColor(0x46, 0x4F, 0x60);
    theme.panel = QColor(0x28, 0x2E, 0x3A);
    theme.text = QColor(0xF0, 0xF3, 0xF8);
    theme.secondaryText = QColor(0xB0, 0xBA, 0xCB);
    theme.link = QColor(0x93, 0xBD, 0xFF);
    theme.linkHover = QColor(0x35, 0x3D, 0x4C);
    theme.accent = QColor(0x6A, 0xA5, 0xFF);
    theme.accentHover = QColor(0x86, 0xB6, 0xFF);
    theme.accentPressed = QColor(0x52, 0x8E, 0xEC);
    theme.onAccent = QColor(0x0A, 0x14, 0x27);
    theme.button = QColor(0x2B, 0x32, 0x3F);
    theme.buttonHover = QColor(0x35, 0x3D, 0x4C);
    theme.buttonPressed = QColor(0x25, 0x2B, 0x36);
    theme.buttonBorder = QColor(0x7C, 0x87, 0x9B);
    theme.field = QColor(0x18, 0x1C, 0x24);
    theme.fieldBorder = QColor(0x7C, 0x87, 0x9B);
    theme.notice = QColor(0x3C, 0x30, 0x16);
    theme.noticeBorder = QColor(0x7D, 0x64, 0x28);
    theme.noticeText = QColor(0xFF, 0xE1, 0xA3);
    theme.refused = QColor(0xFF, 0x9A, 0x8F);
    return theme;
}

}  // namespace

const Theme& themeFor(const QPalette& palette) {
    static const Theme lightTheme = makeLightTheme();
    static const Theme darkTheme = makeDarkTheme();
    const bool dark = palette.color(QPalette::WindowText).lightness() >
                      palette.color(QPalette::Window).lightness();
    return dark ? darkTheme : lightTheme;
}

const Theme& currentTheme() {
    return themeFor(QGuiApplication::palette());
}

}  // namespace velunor
