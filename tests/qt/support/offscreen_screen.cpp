#include "tests/qt/support/offscreen_screen.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

namespace velunor {

OffscreenScreen::OffscreenScreen(int width, int height, int scale) {
    const QJsonObject screen{{"name", "offscreen"},
                             {"x", 0},
                             {"y", 0},
                             {"width", width * scale},
                             {"height", height * scale},
                             {"logicalDpi", 96},
                             {"logicalBaseDpi", 96},
                             {"dpr", 1}};
    const QByteArray text = QJsonDocument(QJsonObject{{"screens", QJsonArray{screen}}}).toJson();
    ready_ = description_.open() && description_.write(text) == text.size() && description_.flush();
    qputenv("DBUS_SESSION_BUS_ADDRESS", "disabled:");
    qputenv("QT_SCALE_FACTOR", QByteArray::number(scale));
    qputenv("QT_QPA_PLATFORM", "offscreen:configfile=" + description_.fileName().toLocal8Bit());
}

}  // namespace velunor
