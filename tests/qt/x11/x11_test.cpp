#include "tests/qt/x11/x11_test.h"

#include <QApplication>
#include <algorithm>
#include <array>
#include <chrono>
#include <memory>

#include "platform/qt/desktop/x11_properties.h"
#include "tests/support/temporary_directory.h"
#include "tests/support/wait.h"

/// Makes the drawings known, which the linker would drop.
static void initializeResources() {
    Q_INIT_RESOURCE(prompt_window);
}

namespace velunor {
namespace {

/// The server, and the application object on it, for the whole test program.
class X11Environment : public ::testing::Environment {
  public:
    void SetUp() override {
        directory_ = std::make_unique<testing::TemporaryDirectory>();
        display_ = std::make_unique<testing::Display>(directory_->path());
        qputenv("DISPLAY", display_->name().c_str());
        qputenv("QT_QPA_PLATFORM", "xcb");
        // The desktop that the tests run on has no say.
        qputenv("DBUS_SESSION_BUS_ADDRESS", "disabled:");
        // Qt 6.8 leaks what waits for the portal's answer when there is none.
        qputenv("QT_NO_XDG_DESKTOP_PORTAL", "1");
        application_ = std::make_unique<QApplication>(argumentCount_, arguments_.data());
        QApplication::setQuitOnLastWindowClosed(false);
        initializeResources();
    }
    void TearDown() override {
        application_.reset();
        display_.reset();
    }
    [[nodiscard]] testing::Display& display() const { return *display_; }

  private:
    std::string name_ = "x11_tests";
    int argumentCount_ = 1;
    std::array<char*, 2> arguments_{name_.data(), nullptr};
    std::unique_ptr<testing::TemporaryDirectory> directory_;
    std::unique_ptr<testing::Display> display_;
    std::unique_ptr<QApplication> application_;
};

X11Environment& environment =
    *static_cast<X11Environment*>(::testing::AddGlobalTestEnvironment(new X11Environment));

}  // namespace

testing::Display& display() {
    return environment.display();
}

bool becomes(const std::function<bool()>& condition) {
    return testing::eventually([&] {
        QCoreApplication::processEvents();
        return condition();
    });
}

Requests::Requests() {
    addX11Events(x11Connection(), x11Root(x11Connection()), XCB_EVENT_MASK_SUBSTRUCTURE_NOTIFY);
    qApp->installNativeEventFilter(this);
}

bool Requests::nativeEventFilter(const QByteArray&, void* message, qintptr*) {
    const auto* event = static_cast<xcb_generic_event_t*>(message);
    constexpr unsigned sentFlag = 0x80;
    if ((event->response_type & ~sentFlag) == XCB_CLIENT_MESSAGE) {
        requests_.push_back(*reinterpret_cast<const xcb_client_message_event_t*>(event));
    }
    return false;
}

std::vector<std::vector<std::uint32_t>> Requests::about(testing::WindowId window,
                                                        const std::string& name,
                                                        std::size_t numbers) const {
    std::vector<std::vector<std::uint32_t>> found;
    for (const xcb_client_message_event_t& request : requests_) {
        if (request.window == window && request.format == 32 &&
            request.type == x11Atom(x11Connection(), name)) {
            const std::uint32_t* first = request.data.data32;
            found.emplace_back(first, first + numbers);
        }
    }
    return found;
}

void X11Test::TearDown() {
    for (const testing::WindowId window : windows_) {
        screen().removeWindow(window);
    }
    for (const auto& [window, name] : properties_) {
        takeAway(window, name);
    }
    QCoreApplication::processEvents();
}

xcb_connection_t* X11Test::x() {
    return x11Connection();
}

xcb_window_t X11Test::root() {
    return x11Root(x());
}

bool X11Test::isShown(QWidget& window) {
    window.show();
    return becomes([&] {
        const auto all = screen().shownWindows();
        return std::ranges::find(all, window.winId()) != all.end() &&
               screen().decorationOf(window.winId());
    });
}

bool X11Test::isActivated(QWidget& window) {
    window.activateWindow();
    return becomes([&] { return window.isActiveWindow(); });
}

testing::WindowId X11Test::add(testing::WindowId window) {
    windows_.push_back(window);
    return window;
}

void X11Test::put(xcb_window_t window, const std::string& name,
                  const std::vector<std::uint32_t>& values) {
    setX11Values(x(), window, name, "CARDINAL", values);
    xcb_flush(x());
    properties_.emplace_back(window, name);
}

void X11Test::handleNews() {
    // A thread of the toolkit takes the events in, those of requests behind what came before them.
    const Requests requests;
    static std::uint32_t turn = 0;
    ++turn;
    requestOfX11(x(), root(), "_VELUNOR_TURN", {turn});
    ASSERT_TRUE(becomes([&] {
        const auto seen = requests.about(root(), "_VELUNOR_TURN", 1);
        return !seen.empty() && seen.back().front() == turn;
    }));
}

void X11Test::takeAway(xcb_window_t window, const std::string& name) {
    xcb_delete_property(x(), window, x11Atom(x(), name));
    xcb_flush(x());
}

void X11MonitorsTest::TearDown() {
    if (hasMonitors_) {
        for (const char* name : {"left", "right"}) {
            display().removeMonitor(name);
        }
    }
    EXPECT_TRUE(becomes([] { return QGuiApplication::screens().size() == 1; }));
    X11Test::TearDown();
}

bool X11MonitorsTest::makeTwoMonitors(const testing::PixelRect& main,
                                      const testing::PixelRect& other) {
    display().addMonitor({"left", main, true});
    display().addMonitor({"right", other});
    hasMonitors_ = true;
    return becomes([&] {
        return QGuiApplication::screens().size() == 2 && screenAt(other.x) != nullptr &&
               QGuiApplication::primaryScreen() == screenAt(main.x);
    });
}

const QScreen* X11MonitorsTest::screenAt(int place) {
    for (const QScreen* screen : QGuiApplication::screens()) {
        if (screen->geometry().x() == place) {
            return screen;
        }
    }
    return nullptr;
}

}  // namespace velunor
