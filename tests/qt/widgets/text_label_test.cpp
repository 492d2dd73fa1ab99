#include "platform/qt/widgets/text_label.h"

#include <QSignalSpy>
#include <QVBoxLayout>

#include "platform/qt/desktop/appearance.h"
#include "tests/qt/support/widget_events.h"
#include "tests/qt/support/widget_test.h"

namespace velunor {
namespace {

/// How a part of the window's texts looks.
struct RoleLook {
    const char* role;
    double scale;
    QFont::Weight weight;
    QColor Theme::*colour;
};

class TextLabelRoleTest : public testing::TestWithParam<RoleLook> {};

TEST_P(TextLabelRoleTest, HasASizeAWeightAndAColour) {
    const RoleLook& look = GetParam();
    TextLabel label;
    label.setTextRole(look.role);
    EXPECT_DOUBLE_EQ(label.textFont().pointSizeF(), label.font().pointSizeF() * look.scale);
    EXPECT_EQ(label.textFont().weight(), look.weight);

    QFont font = label.font();
    font.setPixelSize(40);
    label.setFont(font);
    EXPECT_EQ(label.textFont().pixelSize(), qRound(40 * look.scale));
    EXPECT_EQ(label.textFont().weight(), look.weight);
    label.setText({"M", {}});
    label.resize(100, 80);
    EXPECT_TRUE(hasColour(label.grab().toImage(), currentTheme().*look.colour));
}

INSTANTIATE_TEST_SUITE_P(
    Roles, TextLabelRoleTest,
    testing::Values(RoleLook{"body", 1.0, QFont::Normal, &Theme::secondaryText},
                    RoleLook{"productName", 1.0, QFont::DemiBold, &Theme::secondaryText},
                    RoleLook{"title", 1.35, QFont::Bold, &Theme::text},
                    RoleLook{"update", 1.0, QFont::DemiBold, &Theme::text},
                    RoleLook{"userName", 1.0, QFont::DemiBold, &Theme::text},
                    RoleLook{"caption", 0.9, QFont::Normal, &Theme::secondaryText},
                    RoleLook{"countdown", 1.0, QFont::Normal, &Theme::text},
                    RoleLook{"notice", 1.0, QFont::Normal, &Theme::noticeText},
                    RoleLook{"unknown", 1.0, QFont::Normal, &Theme::secondaryText}),
    [](const auto& each) { return each.param.role; });

class TextLabelTest : public testing::Test {
  protected:
    /// The label's text as a text of its own.
    [[nodiscard]] LiteralText text() const {
        LiteralText own;
        own.setFont(label.textFont());
        own.setText({label.text(), {}});
        return own;
    }

    TextLabel label;
};

TEST_F(TextLabelTest, IsAsWideAsItsTextWithinLimits) {
    label.setText({"One two three four five", {}});
    EXPECT_EQ(label.sizeHint(), QSize(text().naturalWidth(), text().heightForWidth(4000)));
    EXPECT_EQ(label.minimumSizeHint(), QSize(40, text().heightForWidth(4000)));
    EXPECT_EQ(label.heightForWidth(60), text().heightForWidth(60));
    EXPECT_TRUE(label.hasHeightForWidth());
    label.setText({"i", {}});
    EXPECT_EQ(label.sizeHint().width(), 40);
    label.setText({QString(1500, 'w'), {}});
    EXPECT_EQ(label.sizeHint(), QSize(4000, text().heightForWidth(4000)));
}

TEST_F(TextLabelTest, TellsOfEachChangeOnce) {
    const QSignalSpy changes(&label, &TextLabel::textChanged);
    label.setText({"first", {}});
    label.setText({"first", {}});
    EXPECT_EQ(changes.count(), 1);
    label.setText({"second", {}}, Announcement::silent);
    EXPECT_EQ(changes.count(), 2);
}

TEST_F(TextLabelTest, BreaksNamesAloneAtTheirJoints) {
    const QString name = "wwwwwwwwww.mmmmmmmmmm-@-mmmmmmmmmm";
    label.setTextRole("userName");
    LiteralText whole;
    whole.setFont(label.textFont());
    whole.setText({"wwwwwwwwww.mm", {}});
    const int width = whole.naturalWidth();
    const auto lookOf = [&](const char* role, const ShownText& shown) {
        label.setTextRole(role);
        label.setText(shown);
        label.resize(width, 200);
        return inkOn(label.grab().toImage().copy(0, 0, width, label.heightForWidth(4000)),
                     label.grab().toImage().pixelColor(width - 1, 199));
    };
    // At a joint the first line ends before the letters that it would have room for.
    const QRect broken = lookOf("userName", {name, {}});
    EXPECT_EQ(lookOf("update", {name, {}}), broken);
    EXPECT_GT(lookOf("productName", {name, {}}).right(), broken.right() + 5);
    // Behind the first sign, too.
    EXPECT_LT(lookOf("userName", {".wwwwwwwwwwwwmm", {}}).right(), width / 4);
    const QTextLayout::FormatRange styled{0, 1, {}};
    EXPECT_GT(lookOf("userName", {name, {styled}}).right(), broken.right() + 5);
}

TEST_F(TextLabelTest, IsLaidOutAndPaintedAnewWhenItChanges) {
    QWidget window;
    QVBoxLayout layout(&window);
    auto* shown = new TextLabel;
    layout.addWidget(shown);
    shown->setText({"Text", {}});
    window.resize(300, 100);
    window.show();
    Events layouts(window, QEvent::LayoutRequest);
    Events paints(*shown, QEvent::Paint);
    const auto expectAnew = [&] {
        EXPECT_GT(layouts.take(), 0);
        EXPECT_GT(paints.take(), 0);
    };
    layouts.take();
    paints.take();
    shown->setText({"Two\nlines", {}});
    expectAnew();
    shown->setTextRole("title");
    expectAnew();
}

}  // namespace
}  // namespace velunor
