#include "platform/qt/theme.h"

#include <QFontInfo>
#include <QGuiApplication>

namespace velunor {

namespace {

/// Pixel size of the 10-point desktop font at 96 dots an inch.
constexpr qreal commonFontPixels = 13.333;

constexpr QRgb rgb(unsigned value) {
    return 0xFF000000U | value;
}

const Theme lightTheme{
    QColor(rgb(0xFFFFFF)), QColor(rgb(0xD3D9E3)), QColor(rgb(0x131A26)), QColor(rgb(0x4C5769)),
    QColor(rgb(0x1B5FD0)), QColor(rgb(0x174FAF)), QColor(rgb(0x123F8D)), QColor(rgb(0xFFFFFF)),
    QColor(rgb(0xEEF1F6)), QColor(rgb(0xE3E8F0)), QColor(rgb(0xD5DCE7)), QColor(rgb(0xFFFFFF)),
    QColor(rgb(0x8590A3)), QColor(rgb(0xFFF5DE)), QColor(rgb(0xE8C67A)), QColor(rgb(0x5A3D00))};

const Theme darkTheme{
    QColor(rgb(0x20252E)), QColor(rgb(0x3B4452)), QColor(rgb(0xF1F4F9)), QColor(rgb(0xB4BECD)),
    QColor(rgb(0x6BA4FF)), QColor(rgb(0x86B5FF)), QColor(rgb(0x4F8DF0)), QColor(rgb(0x07152E)),
    QColor(rgb(0x323A47)), QColor(rgb(0x3D4655)), QColor(rgb(0x2A313C)), QColor(rgb(0x171B22)),
    QColor(rgb(0x6F7B8E)), QColor(rgb(0x3B3016)), QColor(rgb(0x7A6124)), QColor(rgb(0xFFE3A3))};

}  // namespace

const Theme& themeFor(const QPalette& palette) {
    constexpr int middleLightness = 128;
    return palette.color(QPalette::Window).lightness() < middleLightness ? darkTheme : lightTheme;
}

qreal desktopTextScale() {
    const qreal pixels = QFontInfo(QGuiApplication::font()).pixelSize();
    return pixels > 0 ? pixels / commonFontPixels : 1;
}

QFont desktopFont(qreal ratio, bool bold) {
    QFont font = QGuiApplication::font();
    const int pixels = QFontInfo(font).pixelSize();
    font.setPixelSize(qMax(1, qRound(pixels * ratio)));
    font.setBold(bold);
    return font;
}

}  // namespace velunor
