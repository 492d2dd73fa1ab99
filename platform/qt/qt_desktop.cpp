#include "platform/qt/qt_desktop.h"

#include <QApplication>
#include <QIcon>
#include <QScreen>
#include <QWindow>

#include "platform/qt/qt_image.h"
#include "platform/qt/x11_desktop.h"

namespace velunor {

namespace {

/// Geometry of the main screen, whose lower-left corner is the logic's origin.
QRect mainScreen() {
    const QScreen* screen = QGuiApplication::primaryScreen();
    return screen == nullptr ? QRect() : screen->geometry();
}

Rect upwards(const QRect& rect) {
    const QRect screen = mainScreen();
    const int bottom = screen.y() + screen.height() - (rect.y() + rect.height());
    return {{static_cast<double>(rect.x() - screen.x()), static_cast<double>(bottom)},
            {static_cast<double>(rect.width()), static_cast<double>(rect.height())}};
}

}  // namespace

QRect usableArea() {
    const QScreen* screen = QGuiApplication::primaryScreen();
    if (screen == nullptr) {
        return {};
    }
    return x11UsableArea(*screen).value_or(screen->availableGeometry());
}

Rect QtWindow::frame() const {
    return upwards(widget_.frameGeometry());
}

void QtWindow::setFrameOrigin(const Point& origin) {
    const QRect screen = mainScreen();
    const int height = widget_.frameGeometry().height();
    widget_.move(screen.x() + qRound(origin.x),
                 screen.y() + screen.height() - qRound(origin.y) - height);
}

void QtWindow::setLevel(int level) {
    const bool floats = level > normalWindowLevel;
    Qt::WindowFlags flags = widget_.windowFlags();
    flags.setFlag(Qt::WindowStaysOnTopHint, floats);
    if (!widget_.isVisible()) {
        widget_.setWindowFlags(flags);
        return;
    }
    // Changing the flags of a shown widget would hide it; its native window takes them in place.
    widget_.overrideWindowFlags(flags);
    widget_.windowHandle()->setFlags(flags);
}

std::optional<Rect> QtScreens::mainScreenVisibleFrame() const {
    if (QGuiApplication::primaryScreen() == nullptr) {
        return std::nullopt;
    }
    return upwards(usableArea());
}

void QtApplication::requestCriticalAttention() {
    QApplication::alert(&widget_);
}

void QtApplication::setApplicationIconImage(const ImagePointer& image) {
    const QImage picture = bitmapOf(image);
    if (!picture.isNull()) {
        QApplication::setWindowIcon(QIcon(QPixmap::fromImage(picture)));
    }
}

}  // namespace velunor
