#include "platform/qt/desktop/window_and_screens.h"

#include <QApplication>
#include <QIcon>
#include <QScreen>
#include <QWindow>

#include "platform/qt/application/image_reader.h"
#include "platform/qt/desktop/x11_desktop.h"

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

QMargins frameMargins(const QWidget& widget) {
    if (const auto margins = x11FrameMargins(widget)) {
        return *margins;
    }
    const QRect inside = widget.geometry();
    const QRect frame = widget.frameGeometry();
    return {inside.left() - frame.left(), inside.top() - frame.top(),
            frame.right() - inside.right(), frame.bottom() - inside.bottom()};
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
    return upwards(widget_.geometry().marginsAdded(frameMargins(widget_)));
}

void QtWindow::setFrameOrigin(const Point& origin) {
    const QRect screen = mainScreen();
    const QMargins margins = frameMargins(widget_);
    const QPoint lowerLeft(screen.x() + qRound(origin.x),
                           screen.y() + screen.height() - qRound(origin.y));
    widget_.setGeometry(QRect(lowerLeft.x() + margins.left(),
                              lowerLeft.y() - margins.bottom() - widget_.height(), widget_.width(),
                              widget_.height()));
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
