#include "platform/qt/desktop/appearance.h"

#include <QApplication>
#include <QEvent>
#include <QWidget>

namespace velunor {
namespace {

Theme makeTheme(bool dark) {
    const auto pick = [dark](QRgb inLight, QRgb inDark) { return QColor(dark ? inDark : inLight); };
    return {.dark = dark,
            .card = pick(0xFFFFFFU, 0x20252FU),
            .cardBorder = pick(0xC9D0DBU, 0x464F60U),
            .panel = pick(0xF4F6FAU, 0x282E3AU),
            .text = pick(0x18202FU, 0xF0F3F8U),
            .secondaryText = pick(0x525D73U, 0xB0BACBU),
            .link = pick(0x1A56C4U, 0x93BDFFU),
            .linkHover = pick(0xE2E9F6U, 0x353D4CU),
            .accent = pick(0x1D5CCEU, 0x6AA5FFU),
            .accentHover = pick(0x194FB3U, 0x86B6FFU),
            .accentPressed = pick(0x144195U, 0x528EECU),
            .onAccent = pick(0xFFFFFFU, 0x0A1427U),
            .button = pick(0xFFFFFFU, 0x2B323FU),
            .buttonHover = pick(0xF0F3F8U, 0x353D4CU),
            .buttonPressed = pick(0xE2E7EFU, 0x252B36U),
            .buttonBorder = pick(0x848EA1U, 0x7C879BU),
            .field = pick(0xFFFFFFU, 0x181C24U),
            .fieldBorder = pick(0x848EA1U, 0x7C879BU),
            .notice = pick(0xFFF3D9U, 0x3C3016U),
            .noticeBorder = pick(0xEBCB85U, 0x7D6428U),
            .noticeText = pick(0x5B3B00U, 0xFFE1A3U),
            .refused = pick(0xC42B1CU, 0xFF9A8FU)};
}

/// Black on white, or white on black; the colours that tell what can be pressed are far from both.
Theme makeStrongTheme(bool dark) {
    const auto pick = [dark](QRgb inLight, QRgb inDark) { return QColor(dark ? inDark : inLight); };
    const QColor ground = pick(0xFFFFFFU, 0x000000U);
    const QColor ink = pick(0x000000U, 0xFFFFFFU);
    const QColor hovered = pick(0xE6E6E6U, 0x2A2A2AU);
    const QColor accent = pick(0x0B3D91U, 0x9CC8FFU);
    return {.dark = dark,
            .highContrast = true,
            .line = 2,
            .ring = 3,
            .card = ground,
            .cardBorder = ink,
            .panel = ground,
            .text = ink,
            .secondaryText = ink,
            .link = accent,
            .linkHover = hovered,
            .accent = accent,
            .accentHover = pick(0x072C6BU, 0xBBDAFFU),
            .accentPressed = pick(0x051F4DU, 0x84B9FAU),
            .onAccent = ground,
            .button = ground,
            .buttonHover = hovered,
            .buttonPressed = pick(0xD0D0D0U, 0x404040U),
            .buttonBorder = ink,
            .field = ground,
            .fieldBorder = ink,
            .notice = ground,
            .noticeBorder = ink,
            .noticeText = ink,
            .refused = pick(0x8B0000U, 0xFFB3ABU)};
}

bool contrastIsHigh = false;

}  // namespace

const Theme& themeFor(const QPalette& palette) {
    static const Theme lightTheme = makeTheme(false);
    static const Theme darkTheme = makeTheme(true);
    static const Theme strongLightTheme = makeStrongTheme(false);
    static const Theme strongDarkTheme = makeStrongTheme(true);
    const bool dark = palette.color(QPalette::WindowText).lightness() >
                      palette.color(QPalette::Window).lightness();
    if (contrastIsHigh) {
        return dark ? strongDarkTheme : strongLightTheme;
    }
    return dark ? darkTheme : lightTheme;
}

const Theme& currentTheme() {
    return themeFor(QGuiApplication::palette());
}

void setHighContrast(bool high) {
    if (high == contrastIsHigh) {
        return;
    }
    contrastIsHigh = high;
    for (QWidget* widget : QApplication::allWidgets()) {
        // As when the palette changes, on which all of this depends besides.
        QEvent change(QEvent::PaletteChange);
        QCoreApplication::sendEvent(widget, &change);
    }
}

void drawRounded(QPainter& painter, const QRectF& rect, double radius, const QBrush& fill,
                 const QPen& outline) {
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setBrush(fill);
    painter.setPen(outline);
    painter.drawRoundedRect(rect, radius, radius);
}

}  // namespace velunor
