#include "tests/qt/pictures/approved_pictures.h"

#include <QApplication>
#include <QFont>
#include <QFontDatabase>
#include <QPainter>
#include <QPixmap>
#include <algorithm>
#include <array>
#include <cstdio>
#include <cstdlib>
#include <string_view>

#include "platform/qt/desktop/appearance.h"
#include "tests/qt/support/sample_states.h"

namespace velunor {

namespace {

/// What another release of the font's rasterizer may change in a channel of a pixel, of 255.
constexpr int shade = 32;

bool differs(QRgb one, QRgb other) {
    return std::abs(qRed(one) - qRed(other)) > shade ||
           std::abs(qGreen(one) - qGreen(other)) > shade ||
           std::abs(qBlue(one) - qBlue(other)) > shade ||
           std::abs(qAlpha(one) - qAlpha(other)) > shade;
}

}  // namespace

const std::vector<ApprovedPicture>& approvedPictures() {
    static const std::vector<ApprovedPicture> pictures{
        {"plain", "plain", "en"},
        {"credentials", "credentials", "en"},
        {"notice", "notice", "en"},
        {"credentials_dark", "credentials", "en", true},
        {"credentials_arabic", "credentials", "ar"},
    };
    return pictures;
}

void prepareApprovedFont() {
    qputenv("FONTCONFIG_FILE", APPROVED_DIRECTORY "/fonts.conf");
}

bool useApprovedFont() {
    constexpr double usualPointSize = 9;
    for (const char* file : {"DejaVuSans.ttf", "DejaVuSans-Bold.ttf"}) {
        const QString path = QStringLiteral("/usr/share/fonts/truetype/dejavu/") + file;
        if (QFontDatabase::addApplicationFont(path) < 0) {
            std::fprintf(stderr, "cannot load %s: is fonts-dejavu-core installed?\n",
                         qPrintable(path));
            return false;
        }
    }
    QFont font(QStringLiteral("DejaVu Sans"));
    font.setPointSizeF(usualPointSize);
    font.setHintingPreference(QFont::PreferNoHinting);
    QApplication::setFont(font);
    // A caret that blinks would come and go with the speed of the machine.
    QApplication::setCursorFlashTime(0);
    return true;
}

QImage renderNow(const ApprovedPicture& picture) {
    setDesktopLook(picture.dark);
    const auto& states = sampleStates();
    const auto state = std::find_if(states.begin(), states.end(), [&](const SampleState& each) {
        return std::string_view(each.name) == picture.state;
    });
    PromptWindow window;
    if (state == states.end() || !showState(window, *state, picture.language)) {
        return {};
    }
    return window.grab().toImage().convertToFormat(QImage::Format_ARGB32);
}

QImage coloursNow() {
    constexpr std::array colours{&Theme::card,          &Theme::cardBorder,    &Theme::panel,
                                 &Theme::text,          &Theme::secondaryText, &Theme::link,
                                 &Theme::linkHover,     &Theme::accent,        &Theme::accentHover,
                                 &Theme::accentPressed, &Theme::onAccent,      &Theme::button,
                                 &Theme::buttonHover,   &Theme::buttonPressed, &Theme::buttonBorder,
                                 &Theme::field,         &Theme::fieldBorder,   &Theme::notice,
                                 &Theme::noticeBorder,  &Theme::noticeText,    &Theme::refused};
    constexpr int side = 16;
    QImage picture(side * static_cast<int>(colours.size()), 4 * side, QImage::Format_ARGB32);
    QPainter painter(&picture);
    int row = 0;
    for (const bool highContrast : {false, true}) {
        setHighContrast(highContrast);
        for (const bool dark : {false, true}) {
            setDesktopLook(dark);
            int column = 0;
            for (const auto colour : colours) {
                painter.fillRect(side * column, side * row, side, side, currentTheme().*colour);
                ++column;
            }
            ++row;
        }
    }
    setHighContrast(false);
    return picture;
}

double differingShare(const QImage& one, const QImage& other) {
    if (one.size() != other.size() || one.isNull()) {
        return 1;
    }
    qint64 count = 0;
    for (int y = 0; y < one.height(); ++y) {
        for (int x = 0; x < one.width(); ++x) {
            count += differs(one.pixel(x, y), other.pixel(x, y)) ? 1 : 0;
        }
    }
    return static_cast<double>(count) / (static_cast<double>(one.width()) * one.height());
}

}  // namespace velunor
