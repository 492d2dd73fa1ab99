#include "platform/qt/desktop/display.h"

#include <QProcess>
#include <QTemporaryDir>

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
        process_.start("Xvfb",
                       {"-displayfd", "1", "-screen", "0", "640x480x24", "-nolisten", "tcp"});
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

TEST(DisplayTest, LeavesAPlatformThatSomebodyChose) {
    const XServer server;
    const Variable platform("QT_QPA_PLATFORM", "minimal");
    const Variable x("DISPLAY", server.display());

    EXPECT_TRUE(prepareDisplay());
    EXPECT_EQ(qgetenv("QT_QPA_PLATFORM"), "minimal");
}

}  // namespace
}  // namespace velunor
