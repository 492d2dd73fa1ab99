// Values of the desktop portal, of any type: the texts stay between half and three times their
// size, and text and ground of the window stay apart.
#include <QApplication>
#include <QDBusConnection>
#include <QDBusVariant>
#include <QMetaObject>
#include <cmath>
#include <memory>

#include "platform/qt/desktop/appearance.h"
#include "platform/qt/desktop/desktop_settings.h"
#include "tests/fuzz/fuzzing.h"
#include "tests/fuzz/offscreen_application.h"

namespace velunor {
namespace {

/// A value of the type that the first character names, in as many variants as it says.
QVariant valueOf(const std::string& text) {
    const QByteArray rest = QByteArray::fromStdString(text.empty() ? text : text.substr(1));
    const char type = text.empty() ? 's' : text.front();
    switch (type) {
        case 'b':
            return rest.startsWith('t');
        case 'd':
            return rest.toDouble();
        case 'u':
            return rest.toUInt();
        case 'i':
            return rest.toInt();
        case 'y':
            return rest;
        case 'l':
            return QStringList{QString::fromUtf8(rest)};
        case 'v':
            return QVariant::fromValue(QDBusVariant(valueOf(text.substr(1))));
        default:
            return QString::fromUtf8(rest);
    }
}

}  // namespace

void fuzz(std::string_view input) {
    constexpr std::size_t most = 256;
    offscreenApplication();
    const double size = QApplication::font().pointSizeF();
    const auto followed = followDesktopSettings(QDBusConnection("none"));
    const std::vector<std::string> parts = partsOf(input.substr(0, most));
    for (std::size_t index = 0; index + 2 < parts.size(); index += 3) {
        require(QMetaObject::invokeMethod(
            followed.get(), "take", Q_ARG(QString, QString::fromStdString(parts[index])),
            Q_ARG(QString, QString::fromStdString(parts[index + 1])),
            Q_ARG(QDBusVariant, QDBusVariant(valueOf(parts[index + 2])))));
        const double scale = QApplication::font().pointSizeF() / size;
        require(scale > 0.49 && scale < 3.01);
        const Theme& theme = currentTheme();
        require(std::abs(theme.text.lightness() - theme.card.lightness()) > 100);
    }
}

}  // namespace velunor
