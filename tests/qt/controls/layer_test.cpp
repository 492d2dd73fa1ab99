// What a view's layer paints and how it moves the view.

#include <QProxyStyle>
#include <QSignalSpy>
#include <QVariantAnimation>
#include <utility>
#include <vector>

#include "platform/qt/controls/control_adapters.h"
#include "platform/qt/desktop/appearance.h"
#include "tests/qt/support/widget_events.h"
#include "tests/qt/support/widget_test.h"

namespace velunor {
namespace {

using std::chrono::milliseconds;

/// A view at a place of rest. No time passes but where a test moves an animation on.
class MovingLayerTest : public testing::Test {
  protected:
    MovingLayerTest() {
        widget.setGeometry(QRect(rest, QSize(200, 40)));
        view.setWantsLayer(true);
        layer = widget.findChild<WidgetLayer*>();
    }
    /// The animation that runs; null when none does.
    [[nodiscard]] QVariantAnimation* running() const {
        for (auto* animation : layer->findChildren<QVariantAnimation*>()) {
            if (animation->state() == QAbstractAnimation::Running) {
                return animation;
            }
        }
        return nullptr;
    }
    /// How far the view is from its place after so much of the time of what runs.
    [[nodiscard]] QPoint shiftAt(int time) {
        running()->setCurrentTime(time);
        return widget.pos() - rest;
    }

    const QPoint rest{30, 10};
    QWidget parent;
    CustomTextField widget{&parent};
    QtEditableField view{widget};
    WidgetLayer* layer = nullptr;
};

/// An animation, all of its time, and where the view is at some moments.
struct Course {
    const char* name;
    KeyFrameAnimation animation;
    int length;
    std::vector<std::pair<int, int>> shifts;
};

class CourseTest : public MovingLayerTest, public testing::WithParamInterface<Course> {};

TEST_P(CourseTest, LeadsThroughItsPlacesBackToRest) {
    layer->addAnimation(GetParam().animation);
    ASSERT_NE(running(), nullptr);
    EXPECT_EQ(running()->totalDuration(), GetParam().length);
    for (const auto& [time, shift] : GetParam().shifts) {
        EXPECT_EQ(shiftAt(time), QPoint(shift, 0)) << time;
    }
    EXPECT_EQ(shiftAt(GetParam().length), QPoint(0, 0));
    EXPECT_EQ(running(), nullptr);
}

INSTANTIATE_TEST_SUITE_P(
    Courses, CourseTest,
    testing::Values(Course{"ThereAndBackTwice",
                           {"transform", {-10, 10}, true, 2, milliseconds(70)},
                           280,
                           {{0, -10}, {35, 0}, {70, 10}, {105, 0}, {140, -10}, {210, 10}}},
                    Course{"ThreePlacesOnce",
                           {"transform", {0, 8, -4}, false, 1, milliseconds(100)},
                           100,
                           {{0, 0}, {25, 4}, {50, 8}, {75, 2}}},
                    Course{"ThreePlacesThereAndBack",
                           {"transform", {0, 8, -4}, true, 1, milliseconds(100)},
                           200,
                           {{0, 0}, {50, 8}, {100, -4}, {150, 8}, {175, 4}}},
                    Course{"OnePlace",
                           {"transform", {6}, true, 3, milliseconds(20)},
                           120,
                           {{0, 6}, {10, 6}, {50, 6}}},
                    Course{"OnceWhereItIsToBeNoTimes",
                           {"transform", {8, 4}, false, 0, milliseconds(20)},
                           20,
                           {{0, 8}, {10, 6}}},
                    Course{"OnceWhereItIsToBeLessThanNoTimes",
                           {"transform", {8, 4}, false, -1, milliseconds(20)},
                           20,
                           {{0, 8}, {10, 6}}}),
    [](const auto& each) { return each.param.name; });

TEST_F(MovingLayerTest, NextOneBeginsFromThePlaceOfRest) {
    const QSignalSpy started(layer, &WidgetLayer::animationStarted);
    layer->addAnimation({"transform", {7, 7}, false, 1, milliseconds(100)});
    EXPECT_EQ(shiftAt(60), QPoint(7, 0));
    layer->addAnimation({"transform", {3, 3}, false, 1, milliseconds(100)});
    EXPECT_EQ(widget.pos(), rest + QPoint(3, 0));
    EXPECT_EQ(running()->currentTime(), 0);
    EXPECT_EQ(started.count(), 2);
    // One without any place ends the one that runs.
    layer->addAnimation({});
    EXPECT_EQ(widget.pos(), rest);
    EXPECT_EQ(running(), nullptr);
    EXPECT_EQ(started.count(), 2);
}

TEST_F(MovingLayerTest, GoesOnWhereTheLayoutPutsTheView) {
    layer->addAnimation({"transform", {4, 8}, false, 1, milliseconds(100)});
    widget.move(rest + QPoint(0, 50));
    EXPECT_EQ(shiftAt(50), QPoint(6, 50));
    EXPECT_EQ(shiftAt(100), QPoint(0, 50));
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
    const auto outlineAt = [&](int time) {
        EXPECT_EQ(shiftAt(time), QPoint(0, 0));
        return colourAt(widget, {100, 0});
    };
    for (int time = 0; time < 2; ++time) {
        layer->addAnimation({"transform", {-10, 10}, true, 2, milliseconds(70)});
        ASSERT_NE(running(), nullptr);
        EXPECT_EQ(running()->currentTime(), 0) << time;
        EXPECT_EQ(running()->totalDuration(), 1500);
        EXPECT_EQ(outlineAt(0), currentTheme().fieldBorder);
        EXPECT_NE(outlineAt(200), currentTheme().fieldBorder);
        EXPECT_NE(outlineAt(200), currentTheme().refused);
        EXPECT_EQ(outlineAt(300), currentTheme().refused);
        EXPECT_EQ(outlineAt(900), currentTheme().refused);
        EXPECT_NE(outlineAt(1000), currentTheme().refused);
    }
    EXPECT_EQ(outlineAt(1500), currentTheme().fieldBorder);
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
    paints.take();
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
