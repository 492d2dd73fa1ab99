#include "platform/qt/desktop/theme.h"

#include <QGuiApplication>

namespace velunor {

namespace {

Theme makeLightTheme() {
    return {.dark = false,
            .card = 0xFFFFFFU,
            .cardBorder = 0xC9D0DBU,
            .panel = 0xF4F6FAU,
            .text = 0x18202FU,
            .secondaryText = 0x525D73U,
            .link = 0x1A56C4U,
            .linkHover = 0xE2E9F6U,
            .accent = 0x1D5CCEU,
            .accentHover = 0x194FB3U,
            .accentPressed = 0x144195U,
            .onAccent = 0xFFFFFFU,
            .button = 0xFFFFFFU,
            .buttonHover = 0xF0F3F8U,
            .buttonPressed = 0xE2E7EFU,
            .buttonBorder = 0x848EA1U,
            .field = 0xFFFFFFU,
            .fieldBorder = 0x848EA1U,
            .notice = 0xFFF3D9U,
            .noticeBorder = 0xEBCB85U,
            .noticeText = 0x5B3B00U,
            .refused = 0xC42B1CU};
}

Theme makeDarkTheme() {
    return {.dark = true,
            .card = 0x20252FU,
            .cardBorder = 0x464F60U,
            .panel = 0x282E3AU,
            .text = 0xF0F3F8U,
            .secondaryText = 0xB0BACBU,
            .link = 0x93BDFFU,
            .linkHover = 0x353D4CU,
            .accent = 0x6AA5FFU,
            .accentHover = 0x86B6FFU,
            .accentPressed = 0x528EECU,
            .onAccent = 0x0A1427U,
            .button = 0x2B323FU,
            .buttonHover = 0x353D4CU,
            .buttonPressed = 0x252B36U,
            .buttonBorder = 0x7C879BU,
            .field = 0x181C24U,
            .fieldBorder = 0x7C879BU,
            .notice = 0x3C3016U,
            .noticeBorder = 0x7D6428U,
            .noticeText = 0xFFE1A3U,
            .refused = 0xFF9A8FU};
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
