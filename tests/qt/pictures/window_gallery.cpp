// Saves pictures of the window: window_gallery OUTPUT_DIRECTORY SCALE
// Each state is shown in the light and the dark look and in several languages, SCALE (1 or 2)
// pixels a point. Files are named <state>_<language>_<look>_<scale>x.png.
// window_gallery OUTPUT_DIRECTORY approved: the pictures that a test compares, as they are now.

#include <QApplication>
#include <QDir>
#include <QPixmap>
#include <algorithm>
#include <cstdio>
#include <string>
#include <string_view>

#include "platform/qt/desktop/appearance.h"
#include "tests/qt/pictures/approved_pictures.h"
#include "tests/qt/support/offscreen_screen.h"
#include "tests/qt/support/sample_states.h"

namespace {

using namespace velunor;

bool savePicture(const SampleState& state, const std::string& language, const QString& path) {
    setDesktopTextScale(state.textScale);
    setHighContrast(state.highContrast);
    PromptWindow window;
    if (showState(window, state, language) && window.grab().save(path)) {
        return true;
    }
    std::fprintf(stderr, "window_gallery: cannot make %s\n", qPrintable(path));
    return false;
}

bool saveStates(const QDir& directory, int scale) {
    for (const bool dark : {false, true}) {
        setDesktopLook(dark);
        const auto save = [&](const SampleState& state, const char* language) {
            const QString path = directory.filePath(
                QStringLiteral("%1_%2_%3_%4x.png")
                    .arg(QLatin1String(state.name), QLatin1String(language),
                         QLatin1String(dark ? "dark" : "light"), QString::number(scale)));
            return savePicture(state, language, path);
        };
        for (const SampleState& state : sampleStates()) {
            for (const char* language : {"en", "de", "ar", "ja"}) {
                if (!save(state, language)) {
                    return false;
                }
            }
        }
        for (const SampleState& state : specialStates()) {
            if (!save(state, "en")) {
                return false;
            }
        }
    }
    return true;
}

bool saveApproved(const QDir& directory) {
    const auto save = [&](const QImage& picture, const char* name) {
        const QString path = directory.filePath(QLatin1String(name) + ".png");
        if (!picture.isNull() && picture.save(path, nullptr, 0)) {
            return true;
        }
        std::fprintf(stderr, "window_gallery: cannot make %s\n", qPrintable(path));
        return false;
    };
    const auto& pictures = approvedPictures();
    return save(coloursNow(), coloursName) &&
           std::all_of(pictures.begin(), pictures.end(), [&](const ApprovedPicture& each) {
               return save(renderNow(each), each.name);
           });
}

}  // namespace

int main(int argc, char** argv) {
    const std::string_view what = argc == 3 ? argv[2] : "";
    const bool approved = what == "approved";
    if (!approved && what != "1" && what != "2") {
        std::fputs("usage: window_gallery OUTPUT_DIRECTORY 1|2|approved\n", stderr);
        return 2;
    }
    const int scale = what == "2" ? 2 : 1;
    const OffscreenScreen screen(1280, 800, scale);
    if (!screen.isReady()) {
        std::fputs("window_gallery: cannot describe the screen\n", stderr);
        return 1;
    }
    if (approved) {
        prepareApprovedFont();
    }
    const QApplication application(argc, argv);
    const QDir directory(QString::fromLocal8Bit(argv[1]));
    if (approved) {
        return useApprovedFont() && saveApproved(directory) ? 0 : 1;
    }
    return saveStates(directory, scale) ? 0 : 1;
}
