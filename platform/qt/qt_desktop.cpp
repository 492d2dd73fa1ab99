#include "platform/qt/qt_desktop.h"

#include <QApplication>
#include <QIcon>
#include <QScreen>
#include <QWidget>

#include "platform/qt/qt_image.h"

namespace velunor {

namespace {

/// The toolkit counts downwards from the top; turned round at the main screen's lower edge.
Rect upwards(const QRect& rect, const QScreen& main) {
    const QRect whole = main.geometry();
    const int bottom = whole.y() + whole.height();
    return {
        {static_cast<double>(rect.x()), static_cast<double>(bottom - (rect.y() + rect.height()))},
        {static_cast<double>(rect.width()), static_cast<double>(rect.height())}};
}

}  // namespace

std::optional<Rect> QtScreens::mainScreenVisibleFrame() const {
    const QScreen* main = QGuiApplication::primaryScreen();
    if (main == nullptr) {
        return std::nullopt;
    }
    return upwards(main->availableGeometry(), *main);
}

Rect QtWindow::frame() const {
    const QScreen* main = QGuiApplication::primaryScreen();
    return main == nullptr ? Rect() : upwards(widget_.frameGeometry(), *main);
}

void QtWindow::setFrameOrigin(const Point& origin) {
    const QScreen* main = QGuiApplication::primaryScreen();
    if (main == nullptr) {
        return;
    }
    const QRect whole = main->geometry();
    const int bottom = whole.y() + whole.height();
    widget_.move(qRound(origin.x), bottom - qRound(origin.y) - widget_.frameGeometry().height());
}

void QtWindow::setLevel(int level) {
    const bool floats = level >= floatingWindowLevel;
    if (widget_.windowFlags().testFlag(Qt::WindowStaysOnTopHint) == floats) {
        return;
    }
    const bool shown = widget_.isVisible();
    widget_.setWindowFlag(Qt::WindowStaysOnTopHint, floats);
    // The toolkit hides a window whose flags change.
    widget_.setVisible(shown);
}

void QtApplication::requestCriticalAttention() {
    QApplication::alert(&widget_);
}

void QtApplication::setApplicationIconImage(const ImagePointer& image) {
    QGuiApplication::setWindowIcon(QIcon(QPixmap::fromImage(bitmapOf(image))));
}

}  // namespace velunor
