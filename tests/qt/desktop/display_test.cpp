#include "platform/qt/desktop/display.h"

#include <sys/socket.h>
#include <sys/un.h>

#include <QDir>
#include <QLibraryInfo>
#include <QProcess>
#include <QTemporaryDir>
#include <filesystem>
#include <iterator>
#include <optional>
#include <string>

#include "platform/posix/file_descriptor.h"
#include "platform/qt/desktop/layer_shell.h"
#include "platform/qt/desktop/x11_desktop.h"
#include "tests/qt/support/widget_test.h"

namespace velunor {
namespace {

/// Sets a variable of the environment, or unsets it, for one test.
class Variable {
  public:
    Variable(const char* name, const QByteArray& value) : name_(name), former_(qgetenv(name)) {
        set(value);
    }
    Variable(const Variable&) = delete;
    Variable& operator=(const Variable&) = delete;
    ~Variable() { set(former_); }

  private:
    void set(const QByteArray& value) const {
        value.isEmpty() ? qunsetenv(name_) : qputenv(name_, value);
    }

    const char* name_;
    QByteArray former_;
};

/// A real X server of its own.
class XServer {
  public:
    XServer() {
        // It must not begin anew when its only client goes: the next one would be refused.
        process_.start("Xvfb", {"-displayfd", "1", "-screen", "0", "640x480x24", "-nolisten", "tcp",
                                "-noreset"});
        while (process_.waitForReadyRead(10000) && !process_.canReadLine()) {
        }
        display_ = ":" + process_.readLine().trimmed();
    }
    XServer(const XServer&) = delete;
    XServer& operator=(const XServer&) = delete;
    ~XServer() {
        process_.terminate();
        process_.waitForFinished();
    }
    [[nodiscard]] const QByteArray& display() const { return display_; }

  private:
    QProcess process_;
    QByteArray display_;
};

TEST(DisplayTest, IsNotThereWithoutAnyServer) {
    const Variable platform("QT_QPA_PLATFORM", {});
    const Variable x("DISPLAY", {});
    const QTemporaryDir empty;
    const Variable runtime("XDG_RUNTIME_DIR", empty.path().toLocal8Bit());
    const Variable wayland("WAYLAND_DISPLAY", "wayland-7");

    EXPECT_FALSE(prepareDisplay());
    EXPECT_TRUE(qgetenv("QT_QPA_PLATFORM").isEmpty());
}

TEST(DisplayTest, IsNotThereWhenTheXServerIsGone) {
    const Variable platform("QT_QPA_PLATFORM", "xcb");
    const Variable x("DISPLAY", ":64999");

    EXPECT_FALSE(prepareDisplay());
}

TEST(DisplayTest, IsThereOnAPlatformWithoutServer) {
    const Variable platform("QT_QPA_PLATFORM", "offscreen");
    const Variable x("DISPLAY", {});

    EXPECT_TRUE(prepareDisplay());
    EXPECT_EQ(qgetenv("QT_QPA_PLATFORM"), "offscreen");
}

TEST(DisplayTest, IsThereWhenOneOfSeveralPlatformsIs) {
    const Variable platform("QT_QPA_PLATFORM", "xcb;offscreen:configfile=none");
    const Variable x("DISPLAY", {});

    EXPECT_TRUE(prepareDisplay());
}

TEST(DisplayTest, PrefersTheXServerOnAWaylandDesktop) {
    const XServer server;
    const Variable platform("QT_QPA_PLATFORM", {});
    const Variable x("DISPLAY", server.display());
    const Variable wayland("WAYLAND_DISPLAY", "wayland-7");

    EXPECT_TRUE(prepareDisplay());
    EXPECT_EQ(qgetenv("QT_QPA_PLATFORM"), "xcb");
}

TEST(DisplayTest, ToolkitIsToTakeNoDescriptorForAPicture) {
    const Variable platform("QT_QPA_PLATFORM", "offscreen");
    const Variable untold("QT_XCB_NO_MITSHM", {});
    EXPECT_TRUE(prepareDisplay());
    EXPECT_EQ(qEnvironmentVariableIntValue("QT_XCB_NO_MITSHM"), 1);
}

TEST(DisplayTest, LeavesNoConnectionBehind) {
    const XServer server;
    const Variable platform("QT_QPA_PLATFORM", "xcb");
    const Variable x("DISPLAY", server.display());
    const auto descriptors = [] {
        return std::distance(std::filesystem::directory_iterator("/proc/self/fd"), {});
    };
    const auto before = descriptors();

    EXPECT_TRUE(prepareDisplay());
    EXPECT_EQ(descriptors(), before);
}

TEST(DisplayTest, LeavesAPlatformThatSomebodyChose) {
    const XServer server;
    const Variable platform("QT_QPA_PLATFORM", "minimal");
    const Variable x("DISPLAY", server.display());

    EXPECT_TRUE(prepareDisplay());
    EXPECT_EQ(qgetenv("QT_QPA_PLATFORM"), "minimal");
}

/// A compositor's socket, to which nobody has to speak.
class WaylandTest : public testing::Test {
  protected:
    WaylandTest() { EXPECT_TRUE(directory_.isValid()); }
    /// Whether the toolkit has the plug-in for a compositor; without it there is none.
    [[nodiscard]] static bool isUsable() {
        const QDir plugIns(QLibraryInfo::path(QLibraryInfo::PluginsPath) + "/platforms");
        return !plugIns.entryList({"libqwayland*"}, QDir::Files).isEmpty();
    }
    /// A socket that listens at this place in the directory.
    [[nodiscard]] FileDescriptor listenAt(const QString& name) const {
        FileDescriptor listener(socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0));
        sockaddr_un address{};
        address.sun_family = AF_UNIX;
        place(name).copy(address.sun_path, sizeof address.sun_path - 1);
        EXPECT_EQ(bind(listener.get(), reinterpret_cast<const sockaddr*>(&address), sizeof address),
                  0);
        // Nobody takes the connections off, and one too many would be waited for.
        EXPECT_EQ(listen(listener.get(), 16), 0);
        return listener;
    }
    [[nodiscard]] std::string place(const QString& name) const {
        return directory_.filePath(name).toStdString();
    }

  private:
    const QTemporaryDir directory_;
    const Variable runtime_{"XDG_RUNTIME_DIR", directory_.path().toLocal8Bit()};
    const Variable x_{"DISPLAY", {}};
};

TEST_F(WaylandTest, CompositorThatListensIsTakenWhereThereIsNoXServer) {
    const Variable platform("QT_QPA_PLATFORM", {});
    const Variable wayland("WAYLAND_DISPLAY", "wayland-7");
    EXPECT_FALSE(prepareDisplay());
    const FileDescriptor server = listenAt("wayland-7");
    EXPECT_EQ(prepareDisplay(), isUsable());
    EXPECT_EQ(qgetenv("QT_QPA_PLATFORM"), isUsable() ? "wayland" : "");
}

TEST_F(WaylandTest, CompositorHasItsUsualNameOrAWholePath) {
    const Variable platform("QT_QPA_PLATFORM", " wayland-egl ");
    const Variable wayland("WAYLAND_DISPLAY", {});
    EXPECT_FALSE(prepareDisplay());
    const FileDescriptor server = listenAt("wayland-0");
    EXPECT_EQ(prepareDisplay(), isUsable());
    const Variable elsewhere("WAYLAND_DISPLAY", QByteArray::fromStdString(place("other")));
    EXPECT_FALSE(prepareDisplay());
    const FileDescriptor other = listenAt("other");
    EXPECT_EQ(prepareDisplay(), isUsable());
}

/// What the plug-in that stands in for the real one goes by.
constexpr const char* fakeLayerShell = "VELUNOR_FAKE_LAYER_SHELL";

TEST_F(WaylandTest, CompositorThatPutsWindowsWhereTheyAskToBeIsPreferredToAnXServer) {
    const XServer server;
    const Variable x("DISPLAY", server.display());
    const FileDescriptor compositor = listenAt("wayland-0");
    const auto chosen = [](const QByteArray& name, const QByteArray& layerShell) {
        const Variable platform("QT_QPA_PLATFORM", {});
        const Variable wayland("WAYLAND_DISPLAY", name);
        const Variable offers(fakeLayerShell, layerShell);
        return prepareDisplay() ? qgetenv("QT_QPA_PLATFORM") : QByteArray();
    };
    EXPECT_EQ(chosen("wayland-0", "offered"), isUsable() ? "wayland" : "xcb");
    EXPECT_EQ(chosen("wayland-0", "no"), "xcb");
    EXPECT_EQ(chosen("wayland-1", "offered"), "xcb");
    // Somebody else's, where the session names none.
    EXPECT_EQ(chosen({}, "offered"), "xcb");
}

TEST(LayerShellTest, IsOfferedWhereTheCompositorSaysSo) {
    const Variable offers(fakeLayerShell, "offered");
    EXPECT_TRUE(offersLayerShell());
    const Variable none(fakeLayerShell, "no");
    EXPECT_FALSE(offersLayerShell());
}

TEST(LayerShellTest, PutsNoWindowIntoACornerElsewhere) {
    const Variable untouched(fakeLayerShell, "untouched");
    QWidget window;
    putIntoCorner(window, 30);
    EXPECT_EQ(qgetenv(fakeLayerShell), "untouched");
}

TEST(DisplayTest, DesktopWithoutAnXServerDoesWhatItIsAskedAndHoldsNoKey) {
    EXPECT_TRUE(movesWindowsOnRequest());
    EXPECT_TRUE(hasCompositor());
    EXPECT_FALSE(capsLockIsOn());
    const QWidget window;
    EXPECT_EQ(x11FrameMargins(window), std::nullopt);
}

TEST(DisplayTest, PlatformsWithoutAServerAreKnownByTheirNames) {
    const Variable x("DISPLAY", {});
    for (const char* name : {"offscreen", "minimal", "minimalegl", "vnc", "linuxfb", "eglfs",
                             "eglfs_kms", "vnc:size=800x600", "nothing;vnc"}) {
        const Variable platform("QT_QPA_PLATFORM", name);
        EXPECT_TRUE(prepareDisplay()) << name;
    }
    for (const char* name : {"nothing", "xcb", "xcb;nothing", "an eglfs", "offscreens"}) {
        const Variable platform("QT_QPA_PLATFORM", name);
        EXPECT_FALSE(prepareDisplay()) << name;
    }
}

}  // namespace
}  // namespace velunor
