#include <QApplication>
#include <QIcon>
#include <QScreen>
#include <algorithm>
#include <cmath>

#include "platform/qt/application/image_reader.h"
#include "platform/qt/desktop/display.h"
#include "platform/qt/desktop/x11_geometry.h"
#include "tests/qt/support/widget_test.h"

namespace velunor {
namespace {

using Strut = std::vector<std::uint32_t>;

constexpr QSize twoMonitors(2000, 1000);
constexpr QRect leftMonitor(0, 0, 1000, 1000);
constexpr QRect rightMonitor(1000, 0, 1000, 800);

TEST(StrutTest, TakesABottomPanelFromItsMonitorOnly) {
    const Strut panel{0, 0, 0, 40, 0, 0, 0, 0, 0, 0, 0, 999};

    EXPECT_EQ(withoutStrut(leftMonitor, panel, twoMonitors), QRect(0, 0, 1000, 960));
    EXPECT_EQ(withoutStrut(rightMonitor, panel, twoMonitors), rightMonitor);
}

TEST(StrutTest, CountsFromTheDesktopsEdgeAndNotFromTheMonitors) {
    // A panel of 30 at the foot of the shorter monitor reserves 230 of the desktop.
    const Strut panel{0, 0, 0, 230, 0, 0, 0, 0, 0, 0, 1000, 1999};

    EXPECT_EQ(withoutStrut(rightMonitor, panel, twoMonitors), QRect(1000, 0, 1000, 770));
    EXPECT_EQ(withoutStrut(leftMonitor, panel, twoMonitors), leftMonitor);
}

TEST(StrutTest, TakesPanelsAtTheSidesAndTheTop) {
    const Strut left{50, 0, 0, 0, 0, 999, 0, 0, 0, 0, 0, 0};
    const Strut right{0, 60, 0, 0, 0, 0, 0, 799, 0, 0, 0, 0};
    const Strut top{0, 0, 25, 0, 0, 0, 0, 0, 1000, 1999, 0, 0};

    EXPECT_EQ(withoutStrut(leftMonitor, left, twoMonitors), QRect(50, 0, 950, 1000));
    EXPECT_EQ(withoutStrut(rightMonitor, left, twoMonitors), rightMonitor);
    EXPECT_EQ(withoutStrut(rightMonitor, right, twoMonitors), QRect(1000, 0, 940, 800));
    EXPECT_EQ(withoutStrut(rightMonitor, top, twoMonitors), QRect(1000, 25, 1000, 775));
}

TEST(StrutTest, PassesOverAStrutThatWouldLeaveNothing) {
    const Strut whole{0, 0, 0, 1000, 0, 0, 0, 0, 0, 0, 0, 999};

    EXPECT_EQ(withoutStrut(leftMonitor, whole, twoMonitors), leftMonitor);
}

TEST(StrutTest, PassesOverWidthsThatNoDesktopHas) {
    const Strut smallest{0, 0x80000000, 0, 0x80000000, 0, 0, 0, 999, 0, 0, 0, 999};
    const Strut negative{0, 0xFFFFFFFF, 40, 0, 0, 0, 0, 999, 0, 999, 0, 0};

    EXPECT_EQ(withoutStrut(leftMonitor, smallest, twoMonitors), leftMonitor);
    EXPECT_EQ(withoutStrut(leftMonitor, negative, twoMonitors), leftMonitor);
}

TEST(StrutTest, CountsOnlyWhereItSpansAPixelOfTheMonitor) {
    // From the monitor's first pixel to its last, and those beside them.
    const auto bottomFrom = [](std::uint32_t first, std::uint32_t last) {
        return withoutStrut(rightMonitor, {0, 0, 0, 230, 0, 0, 0, 0, 0, 0, first, last},
                            twoMonitors)
            .height();
    };
    EXPECT_EQ(bottomFrom(0, 999), 800);
    EXPECT_EQ(bottomFrom(0, 1000), 770);
    EXPECT_EQ(bottomFrom(1999, 2500), 770);
    EXPECT_EQ(bottomFrom(2000, 2500), 800);
    const auto leftFrom = [](std::uint32_t first, std::uint32_t last) {
        return withoutStrut(QRect(0, 100, 1000, 800), {7, 0, 0, 0, first, last, 0, 0, 0, 0, 0, 0},
                            twoMonitors)
            .x();
    };
    EXPECT_EQ(leftFrom(0, 99), 0);
    EXPECT_EQ(leftFrom(0, 100), 7);
    EXPECT_EQ(leftFrom(899, 950), 7);
    EXPECT_EQ(leftFrom(900, 950), 0);
    // A width of one pixel is one.
    EXPECT_EQ(withoutStrut(leftMonitor, {0, 1, 0, 0, 0, 0, 0, 999, 0, 0, 0, 0}, twoMonitors),
              leftMonitor);
    EXPECT_EQ(withoutStrut(rightMonitor, {0, 1, 0, 0, 0, 0, 0, 799, 0, 0, 0, 0}, twoMonitors),
              QRect(1000, 0, 999, 800));
}

TEST(WorkAreaTest, IsTheFirstWithinTheMonitor) {
    EXPECT_EQ(workAreaWithin(rightMonitor, {0, 0, 1000, 960, 1000, 20, 1000, 780, 1000, 0, 9, 9}),
              QRect(1000, 20, 1000, 780));
    EXPECT_EQ(workAreaWithin(rightMonitor, {0, 0, 1000, 960, 1000, 20, 1000}), std::nullopt);
}

TEST(WorkAreaTest, IsNoneThatIsEmptyOrLargerThanAnyDesktop) {
    EXPECT_EQ(workAreaWithin(leftMonitor, {10, 10, 0, 500}), std::nullopt);
    EXPECT_EQ(workAreaWithin(leftMonitor, {500, 500, 0xFFFFFF00, 400}), std::nullopt);
    EXPECT_EQ(workAreaWithin(leftMonitor, {5, 5, 0x80000000, 9}), std::nullopt);
}

TEST(FrameTest, IsCountedInPoints) {
    EXPECT_EQ(frameMargins({2, 4, 48, 6}, 2), QMargins(1, 24, 2, 3));
    EXPECT_EQ(frameMargins({2, 4, 48}, 2), QMargins());
}

TEST(FrameTest, IsNoneThatNoDesktopHasRoomFor) {
    EXPECT_EQ(frameMargins({2, 4, 0xFFFF, 6}, 1), QMargins(2, 0xFFFF, 4, 6));
    EXPECT_EQ(frameMargins({2, 4, 0x10000, 6}, 1), QMargins());
    EXPECT_EQ(frameMargins({2, 4, 0xFFFFFFFF, 6}, 1), QMargins());
}

TEST(ScreensTest, GiveTheUsableAreaWithYUpwards) {
    const QScreen* screen = QGuiApplication::primaryScreen();
    const QRect usable = screen->availableGeometry();

    const auto frame = QtScreens().mainScreenVisibleFrame();

    ASSERT_TRUE(frame.has_value());
    EXPECT_EQ(frame->size, (Size{double(usable.width()), double(usable.height())}));
    EXPECT_EQ(frame->origin.y, screen->geometry().bottom() - usable.bottom());
}

TEST(WindowTest, PutsTheLowerLeftCornerWhereItIsTold) {
    QWidget widget;
    widget.setFixedSize(200, 100);
    QtWindow window(widget);

    window.setFrameOrigin({50, 30});

    EXPECT_EQ(window.frame(), (Rect{{50, 30}, {200, 100}}));
    const QRect screen = QGuiApplication::primaryScreen()->geometry();
    EXPECT_EQ(widget.geometry().bottom(), screen.bottom() - 30);
    EXPECT_EQ(widget.x(), screen.x() + 50);
}

TEST(WindowTest, FloatsBeforeAndAfterItIsShown) {
    QWidget widget;
    QtWindow window(widget);
    window.setLevel(floatingWindowLevel);
    EXPECT_TRUE(widget.windowFlags().testFlag(Qt::WindowStaysOnTopHint));

    widget.show();
    window.setLevel(normalWindowLevel);
    EXPECT_FALSE(widget.windowFlags().testFlag(Qt::WindowStaysOnTopHint));
    window.setLevel(floatingWindowLevel);
    EXPECT_TRUE(widget.windowFlags().testFlag(Qt::WindowStaysOnTopHint));
    EXPECT_TRUE(widget.isVisible());
}

TEST(WindowShapeTest, HoldsThePixelsWhoseMiddleIsInside) {
    struct Shape {
        QSize size;
        int radius = 0;
        /// What fits of the radius.
        int corner = 0;
    };
    for (const auto& [size, radius, corner] :
         {Shape{{40, 30}, 12, 12}, {{9, 5}, 12, 2}, {{6, 7}, -3, 0}}) {
        const QRegion shape = roundedRegion(size, radius);
        EXPECT_EQ(shape.boundingRect(), QRect(QPoint(0, 0), size));
        const auto beyond = [inset = double(corner)](double place, int length) {
            return std::max({inset - place, place - (length - inset), 0.0});
        };
        for (int y = 0; y < size.height(); ++y) {
            for (int x = 0; x < size.width(); ++x) {
                const double away =
                    std::hypot(beyond(x + 0.5, size.width()), beyond(y + 0.5, size.height()));
                EXPECT_EQ(shape.contains(QPoint(x, y)), away <= corner) << x << ' ' << y;
            }
        }
    }
}

TEST(ApplicationTest, HasItsOneWindow) {
    QWidget widget;
    QtWindow window(widget);
    QtApplication application(widget, window);

    EXPECT_EQ(application.windows(), std::vector<Window*>{&window});
}

TEST(ApplicationTest, TakesTheImageAsItsIcon) {
    QWidget widget;
    QtWindow window(widget);
    QtApplication application(widget, window);
    QImage logo(32, 32, QImage::Format_RGB32);
    logo.fill(Qt::green);

    application.setApplicationIconImage(std::make_shared<QtImage>(logo));

    EXPECT_EQ(QApplication::windowIcon().pixmap(32).toImage().pixelColor(5, 5), Qt::green);
    application.setApplicationIconImage(nullptr);
    EXPECT_FALSE(QApplication::windowIcon().isNull());
}

TEST(ApplicationTest, TakesTheLargestImageAtASizeThatADisplayTakes) {
    QWidget widget;
    QtWindow window(widget);
    QtApplication application(widget, window);
    QImage logo(largestImageSide, largestImageSide / 4, QImage::Format_RGB32);
    logo.fill(Qt::green);

    application.setApplicationIconImage(std::make_shared<QtImage>(logo));

    EXPECT_EQ(QApplication::windowIcon().availableSizes(), QList<QSize>{QSize(256, 64)});
}

}  // namespace
}  // namespace velunor
