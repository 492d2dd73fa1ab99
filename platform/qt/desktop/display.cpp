#include "platform/qt/desktop/display.h"

#include <sys/socket.h>
#include <xcb/xcb.h>

#include <QApplication>
#include <QDir>
#include <QIcon>
#include <QLibraryInfo>
#include <QScreen>
#include <QWindow>
#include <algorithm>
#include <chrono>
#include <cmath>
#include <future>
#include <thread>
#include <utility>

#include "platform/posix/local_socket.h"
#include "platform/qt/application/image_reader.h"
#include "platform/qt/desktop/layer_shell.h"
#include "platform/qt/desktop/x11_desktop.h"

namespace velunor {
namespace {

constexpr const char* platformVariable = "QT_QPA_PLATFORM";
/// What an X server on a loaded machine may take to answer.
constexpr std::chrono::seconds longestAnswer{10};

bool xServerReachable() {
    if (qEnvironmentVariableIsEmpty("DISPLAY")) {
        return false;
    }
    std::packaged_task<bool()> connect([] {
        // A failed attempt gives a connection object as well.
        xcb_connection_t* connection = xcb_connect(nullptr, nullptr);
        const bool reached = xcb_connection_has_error(connection) == 0;
        xcb_disconnect(connection);
        return reached;
    });
    // A server that accepts and never answers would be waited for without an end: the thread that
    // waits for it is left behind.
    std::future<bool> reached = connect.get_future();
    std::thread(std::move(connect)).detach();
    return reached.wait_for(longestAnswer) == std::future_status::ready && reached.get();
}

bool waylandReachable() {
    // Without the plug-in the toolkit could not use the compositor it finds.
    const QDir plugins(QLibraryInfo::path(QLibraryInfo::PluginsPath) + "/platforms");
    if (plugins.entryList({"libqwayland*"}, QDir::Files).isEmpty()) {
        return false;
    }
    QByteArray name = qgetenv("WAYLAND_DISPLAY");
    if (name.isEmpty()) {
        name = "wayland-0";
    }
    const QByteArray path = name.startsWith('/') ? name : qgetenv("XDG_RUNTIME_DIR") + '/' + name;
    return connectLocalSocket(SOCK_STREAM, path.toStdString()).isOpen();
}

bool platformReachable(const QByteArray& platform) {
    const QByteArray name = platform.split(':').constFirst().trimmed();
    if (name == "xcb") {
        return xServerReachable();
    }
    if (name.startsWith("wayland")) {
        return waylandReachable();
    }
    return name == "offscreen" || name.startsWith("minimal") || name == "vnc" ||
           name == "linuxfb" || name.startsWith("eglfs");
}

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

bool prepareDisplay() {
    // A picture in memory that is shared with the X server takes a descriptor each time the window
    // changes its size. Where none is left, the toolkit waits for that without an end.
    qputenv("QT_XCB_NO_MITSHM", "1");
    const QByteArray wanted = qgetenv(platformVariable);
    if (!wanted.isEmpty()) {
        const QByteArrayList platforms = wanted.split(';');
        return std::any_of(platforms.begin(), platforms.end(), platformReachable);
    }
    if (qEnvironmentVariableIsSet("WAYLAND_DISPLAY") && waylandReachable() && offersLayerShell()) {
        qputenv(platformVariable, "wayland");
        return true;
    }
    for (const char* platform : {"xcb", "wayland"}) {
        if (platformReachable(platform)) {
            qputenv(platformVariable, platform);
            return true;
        }
    }
    return false;
}

QRect usableArea(const QScreen* screen) {
    if (screen == nullptr) {
        return {};
    }
    return x11UsableArea(*screen).value_or(screen->availableGeometry());
}

QRegion roundedRegion(const QSize& size, int radius) {
    const int corner = std::clamp(radius, 0, std::min(size.width(), size.height()) / 2);
    QRegion region(0, corner, size.width(), size.height() - 2 * corner);
    for (int row = 0; row < corner; ++row) {
        const double height = corner - (row + 0.5);
        const double reach = std::sqrt(static_cast<double>(corner) * corner - height * height);
        const int inset = static_cast<int>(std::ceil(corner - reach - 0.5));
        const int width = size.width() - 2 * inset;
        region += QRect(inset, row, width, 1);
        region += QRect(inset, size.height() - 1 - row, width, 1);
    }
    return region;
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
    const QScreen* screen = QGuiApplication::primaryScreen();
    if (screen == nullptr) {
        return std::nullopt;
    }
    return upwards(usableArea(screen));
}

void QtApplication::requestCriticalAttention() {
    QApplication::alert(&widget_);
}

void QtApplication::setApplicationIconImage(const ImagePointer& image) {
    // A display refuses an icon that is longer than a request to it may be.
    constexpr int largestSide = 256;
    QImage picture = bitmapOf(image);
    if (std::max(picture.width(), picture.height()) > largestSide) {
        picture =
            picture.scaled(largestSide, largestSide, Qt::KeepAspectRatio, Qt::SmoothTransformation);
    }
    if (!picture.isNull()) {
        QApplication::setWindowIcon(QIcon(QPixmap::fromImage(picture)));
    }
}

}  // namespace velunor
