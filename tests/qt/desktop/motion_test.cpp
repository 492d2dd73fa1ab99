// Whether things move, and what shows instead where they do not.

#include <QProxyStyle>

#include "tests/qt/desktop/desktop_settings_test.h"

namespace velunor {
namespace {

using testing::FakePortal;

/// A style whose animations take so many milliseconds.
class StyleOf final : public QProxyStyle {
  public:
    explicit StyleOf(int duration) : duration_(duration) {}
    int styleHint(StyleHint hint, const QStyleOption* option, const QWidget* widget,
                  QStyleHintReturn* answer) const override {
        return hint == SH_Widget_Animation_Duration
                   ? duration_
                   : QProxyStyle::styleHint(hint, option, widget, answer);
    }

  private:
    int duration_;
};

TEST(MotionTest, IsReducedWhereTheStyleHasNoTimeForIt) {
    for (const int duration : {-1, 0, 1}) {
        StyleOf style(duration);
        QWidget widget;
        widget.setStyle(&style);
        EXPECT_EQ(isMotionReduced(widget), duration < 1) << duration;
    }
}

TEST_F(DesktopSettingsTest, PulsesInsteadOfShaking) {
    const FakePortal portal(address(), {.animations = false});
    follow();
    ASSERT_TRUE(becomes(false, true));
    QWidget parent;
    CustomSecureTextField widget(&parent);
    widget.setGeometry(30, 10, 200, 40);
    QtSecureField field(widget);
    field.setWantsLayer(true);
    const QImage resting = widget.grab().toImage();
    bool moved = false;
    bool coloured = false;
    const auto look = [&] {
        moved = moved || widget.pos() != QPoint(30, 10);
        return widget.grab().toImage();
    };

    field.layer()->addAnimation({"transform", {-10, 10}, true, 2, std::chrono::milliseconds(70)});
    coloured = waitUntil([&] {
        // In the middle of the outline's upper edge.
        const QColor edge = look().pixelColor(100, 0);
        return edge == currentTheme().refused;
    });
    const bool rests = waitUntil([&] { return look() == resting; });

    EXPECT_TRUE(coloured);
    EXPECT_TRUE(rests);
    EXPECT_FALSE(moved);
}

}  // namespace
}  // namespace velunor
