// What a view's layer paints and how it moves the view.

#include <QElapsedTimer>
#include <QProxyStyle>
#include <QSignalSpy>

#include "platform/qt/controls/control_adapters.h"
#include "platform/qt/desktop/appearance.h"
#include "tests/qt/support/widget_events.h"
#include "tests/qt/support/widget_test.h"

namespace velunor {
namespace {

using std::chrono::milliseconds;

/// A view at a place of rest.
class MovingLayerTest : public testing::Test {
  protected:
    MovingLayerTest() {
        widget.setGeometry(QRect(rest, QSize(200, 40)));
        view.setWantsLayer(true);
        layer = widget.findChild<WidgetLayer*>();
    }
    [[nodiscard]] bool comesToRest() {
        return waitUntil([&] { return widget.pos() == rest; });
    }

    const QPoint rest{30, 10};
    QWidget parent;
    CustomTextField widget{&parent};
    QtEditableField view{widget};
    WidgetLayer* layer = nullptr;
};

TEST_F(MovingLayerTest, TakesTheTimeOfAllItsPasses) {
    QElapsedTimer since;
    since.start();
    layer->addAnimation({"transform", {5, 5}, true, 2, milliseconds(20)});
    EXPECT_EQ(widget.pos(), rest + QPoint(5, 0));
    EXPECT_TRUE(comesToRest());
    EXPECT_GE(since.restart(), 2 * 2 * 20);
    layer->addAnimation({"transform", {6}, true, 3, milliseconds(20)});
    EXPECT_EQ(widget.pos(), rest + QPoint(6, 0));
    EXPECT_TRUE(comesToRest());
    EXPECT_GE(since.elapsed(), 3 * 2 * 20);
}

TEST_F(MovingLayerTest, PassesOnceWhereItIsNotToldHowOften) {
    for (const int count : {-1, 0}) {
        layer->addAnimation({"transform", {8, 4}, false, count, milliseconds(20)});
        EXPECT_EQ(widget.pos(), rest + QPoint(8, 0)) << count;
        EXPECT_TRUE(comesToRest()) << count;
    }
}

TEST_F(MovingLayerTest, NextOneBeginsFromThePlaceOfRest) {
    const QSignalSpy started(layer, &WidgetLayer::animationStarted);
    layer->addAnimation({"transform", {7, 7}, false, 1, milliseconds(20)});
    layer->addAnimation({"transform", {3, 3}, false, 1, milliseconds(20)});
    EXPECT_EQ(widget.pos(), rest + QPoint(3, 0));
    EXPECT_EQ(started.count(), 2);
    // One without any place ends the one that runs.
    layer->addAnimation({});
    EXPECT_EQ(widget.pos(), rest);
    EXPECT_EQ(started.count(), 2);
}

/// A desktop that wants nothing to move.
class StillStyle final : public QProxyStyle {
  public:
    int styleHint(StyleHint hint, const QStyleOption* option, const QWidget* widget,
                  QStyleHintReturn* data) const override {
        return hint == SH_Widget_Animation_Duration
                   ? 0
                   : QProxyStyle::styleHint(hint, option, widget, data);
    }
};

TEST_F(MovingLayerTest, EachPulseBeginsAnewWhereNothingIsToMove) {
    StillStyle still;
    widget.setStyle(&still);
    const auto outline = [&] { return colourAt(widget, {100, 0}); };
    const KeyFrameAnimation shake{"transform", {-10, 10}, true, 2, milliseconds(70)};
    for (int time = 0; time < 2; ++time) {
        layer->addAnimation(shake);
        EXPECT_EQ(outline(), currentTheme().fieldBorder) << time;
        EXPECT_TRUE(waitUntil([&] { return outline() == currentTheme().refused; })) << time;
    }
    EXPECT_EQ(widget.pos(), rest);
    widget.setStyle(nullptr);
}

TEST(LayerGroundTest, HasItsColourAndIsPaintedAnewWhenItChanges) {
    QWidget widget;
    WidgetControl<View> view(widget);
    widget.resize(40, 40);
    view.setWantsLayer(true);
    Layer* layer = view.layer();
    widget.show();
    Events paints(widget, QEvent::Paint);
    paints.take();
    layer->setBackgroundColor({0.2, 0.4, 0.6, 1});
    EXPECT_GT(paints.take(), 0);
    EXPECT_EQ(colourAt(widget, {20, 20}), QColor(51, 102, 153));
    EXPECT_EQ(colourAt(widget, {0, 0}), QColor(51, 102, 153));
    layer->setCornerRadius(20);
    EXPECT_GT(paints.take(), 0);
    EXPECT_NE(colourAt(widget, {0, 0}), QColor(51, 102, 153));
    layer->setBackgroundColor({0.2, 0.4, 0.6, 0.5});
    const QColor half = colourAt(widget, {20, 20});
    EXPECT_NE(half, QColor(51, 102, 153));
    // Wanted once more it stays as it is; not wanted it is gone.
    view.setWantsLayer(true);
    EXPECT_EQ(view.layer(), layer);
    view.setWantsLayer(false);
    EXPECT_TRUE(widget.findChildren<WidgetLayer*>().isEmpty());
}

}  // namespace
}  // namespace velunor
