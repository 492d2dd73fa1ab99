// Saves pictures of the window in its states: window_gallery OUTPUT_DIRECTORY
// Each state is shown in the light and the dark look, at one and two pixels a point.

#include <QApplication>
#include <QDir>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QMouseEvent>
#include <QPalette>
#include <QPixmap>
#include <QProcess>
#include <QTemporaryFile>
#include <cstdio>
#include <functional>
#include <string>
#include <vector>

#include "platform/qt/prompt_window.h"
#include "platform/qt/qt_image.h"
#include "platform/qt/secure_text_field.h"
#include "tests/qt/sample_prompt.h"

namespace {

using velunor::CustomSecureTextField;
using velunor::PromptWindow;
using velunor::SamplePrompt;

struct State {
    const char* name;
    std::function<void(SamplePrompt&, PromptWindow&)> prepare = [](auto&, auto&) {};
    std::function<void(PromptWindow&)> shown = [](auto&) {};
    /// Size of the desktop's font beside its usual one.
    double textScale = 1;
};

void focusField(PromptWindow& window, const char* name) {
    window.findChild<QWidget*>(QLatin1String(name))->setFocus();
}

void holdDown(QWidget& button) {
    const QPointF middle = QRectF(button.rect()).center();
    QMouseEvent press(QEvent::MouseButtonPress, middle, button.mapToGlobal(middle), Qt::LeftButton,
                      Qt::LeftButton, Qt::NoModifier);
    QApplication::sendEvent(&button, &press);
}

const std::vector<State>& states() {
    static const std::vector<State> all{
        {.name = "plain"},
        {.name = "no_postpone",
         .prepare = [](SamplePrompt& prompt, PromptWindow&) { prompt.postponeOffered = false; }},
        {.name = "credentials",
         .prepare = [](SamplePrompt& prompt, PromptWindow&) { prompt.credentials = true; },
         .shown =
             [](PromptWindow& window) {
                 window.findChild<CustomSecureTextField*>("passwordTextFiled")->type(u"a password");
                 focusField(window, "passwordTextFiled");
             }},
        {.name = "notice",
         .prepare =
             [](SamplePrompt& prompt, PromptWindow&) {
                 prompt.credentials = true;
                 prompt.notice = true;
                 prompt.otherUser = true;
             }},
        {.name = "revealed",
         .prepare = [](SamplePrompt& prompt, PromptWindow&) { prompt.credentials = true; },
         .shown =
             [](PromptWindow& window) {
                 auto* field = window.findChild<CustomSecureTextField*>("passwordTextFiled");
                 field->type(u"correct horse battery");
                 holdDown(field->revealButton());
             }},
        {.name = "refused",
         .prepare = [](SamplePrompt& prompt, PromptWindow&) { prompt.credentials = true; },
         .shown =
             [](PromptWindow& window) {
                 auto* field = window.findChild<CustomSecureTextField*>("passwordTextFiled");
                 field->type(u"a password");
                 field->selectAll();
                 field->setRefusal(1);
             }},
        {.name = "large_text",
         .prepare =
             [](SamplePrompt& prompt, PromptWindow&) {
                 prompt.credentials = true;
                 prompt.notice = true;
             },
         .textScale = 2},
        {.name = "keyboard_focus",
         .shown = [](PromptWindow& window) { focusField(window, "updateNowButton"); }},
        {.name = "long_texts",
         .prepare =
             [](SamplePrompt& prompt, PromptWindow&) {
                 prompt.makeLong();
                 prompt.credentials = true;
                 prompt.notice = true;
             }},
        {.name = "ten_thousand",
         .prepare = [](SamplePrompt& prompt, PromptWindow&) { prompt.message.assign(10000, 'w'); }},
        {.name = "right_to_left",
         .prepare =
             [](SamplePrompt& prompt, PromptWindow&) {
                 prompt.makeRightToLeft();
                 prompt.credentials = true;
                 prompt.notice = true;
             }},
        {.name = "literal",
         .prepare = [](SamplePrompt& prompt, PromptWindow&) { prompt.makeLiteral(); }},
        {.name = "rebranded",
         .prepare =
             [](SamplePrompt& prompt, PromptWindow& window) {
                 prompt.productName = "Northwind Device Care";
                 QImage logo(256, 160, QImage::Format_ARGB32);
                 logo.fill(QColor(0xD2, 0x4A, 0x1F));
                 window.view().outlets.appIcon->setImage(std::make_shared<velunor::QtImage>(logo));
             }},
    };
    return all;
}

QPalette darkPalette() {
    QPalette palette(QColor(0x30, 0x34, 0x3C), QColor(0x24, 0x28, 0x30));
    palette.setColor(QPalette::WindowText, Qt::white);
    palette.setColor(QPalette::Text, Qt::white);
    return palette;
}

bool savePicture(const State& state, const QString& path) {
    static const QFont usual = QApplication::font();
    QFont font = usual;
    font.setPointSizeF(usual.pointSizeF() * state.textScale);
    QApplication::setFont(font);
    PromptWindow window;
    SamplePrompt prompt;
    state.prepare(prompt, window);
    prompt.fill(window);
    window.present();
    window.activateWindow();
    QApplication::processEvents();
    state.shown(window);
    QApplication::processEvents();
    return window.grab().save(path);
}

/// Writes the description of a screen of 800 by 900 points.
bool describeScreen(QTemporaryFile& file, int scale) {
    const QJsonObject screen{{"name", "gallery"},
                             {"x", 0},
                             {"y", 0},
                             {"width", 800 * scale},
                             {"height", 900 * scale},
                             {"logicalDpi", 96},
                             {"logicalBaseDpi", 96},
                             {"dpr", 1}};
    return file.open() &&
           file.write(QJsonDocument(QJsonObject{{"screens", QJsonArray{screen}}}).toJson()) > 0 &&
           file.flush();
}

int saveAll(const QDir& directory, const QString& scale) {
    const QPalette light(QColor(0xF0, 0xF0, 0xF0));
    for (const bool dark : {false, true}) {
        QApplication::setPalette(dark ? darkPalette() : light);
        for (const State& state : states()) {
            const QString path = directory.filePath(
                QStringLiteral("%1_%2_%3x.png")
                    .arg(QLatin1String(state.name), QLatin1String(dark ? "dark" : "light"), scale));
            if (!savePicture(state, path)) {
                std::fprintf(stderr, "window_gallery: cannot write %s\n", qPrintable(path));
                return 1;
            }
        }
    }
    return 0;
}

}  // namespace

int main(int argc, char** argv) {
    if (argc < 2) {
        std::fputs("usage: window_gallery OUTPUT_DIRECTORY\n", stderr);
        return 2;
    }
    const QByteArray scale = qgetenv("QT_SCALE_FACTOR");
    if (scale.isEmpty()) {
        // The scale is settled when a process starts.
        const QStringList arguments{QString::fromLocal8Bit(argv[1])};
        const QString program = QString::fromLocal8Bit(argv[0]);
        for (const char* each : {"1", "2"}) {
            qputenv("QT_SCALE_FACTOR", each);
            if (const int status = QProcess::execute(program, arguments); status != 0) {
                return status;
            }
        }
        return 0;
    }
    // Pictures that do not depend on the desktop they are made on.
    qputenv("DBUS_SESSION_BUS_ADDRESS", "disabled:");
    QTemporaryFile screen;
    if (!describeScreen(screen, scale.toInt())) {
        std::fputs("window_gallery: cannot describe the screen\n", stderr);
        return 1;
    }
    qputenv("QT_QPA_PLATFORM", "offscreen:configfile=" + screen.fileName().toLocal8Bit());
    const QApplication application(argc, argv);
    return saveAll(QDir(QString::fromLocal8Bit(argv[1])), QString::fromLatin1(scale));
}
