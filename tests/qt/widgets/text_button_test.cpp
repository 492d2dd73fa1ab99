#include "platform/qt/widgets/text_button.h"

#include <QDialog>
#include <QKeyEvent>
#include <QSignalSpy>
#include <QVBoxLayout>

#include "platform/qt/desktop/appearance.h"
#include "tests/qt/support/widget_events.h"
#include "tests/qt/support/widget_test.h"

namespace velunor {
namespace {

/// A button of 200 by 60 points.
class TextButtonTest : public testing::Test {
  protected:
    TextButtonTest() {
        button.resize(200, 60);
        button.setButtonRole("secondary");
        button.setLiteralText("Update");
    }
    void TearDown() override { setHighContrast(false); }
    /// Shows the button in a window, with the focus.
    void focus() {
        button.show();
        button.activateWindow();
        button.setFocus();
        ASSERT_TRUE(waitUntil([&] { return button.hasFocus() && button.isActiveWindow(); }));
    }
    [[nodiscard]] QImage look() { return button.grab().toImage(); }
    [[nodiscard]] QColor at(int x, int y) { return colourAt(button, {x, y}); }
    [[nodiscard]] bool shows(const QColor& colour) { return hasColour(look(), colour); }
    /// The title as a text of its own.
    [[nodiscard]] LiteralText title() const {
        LiteralText text;
        text.setFont(button.textFont());
        text.setText({button.literalText(), {}});
        return text;
    }
    void useFontOf(int pixels) {
        QFont font = button.font();
        font.setPixelSize(pixels);
        button.setFont(font);
    }

    TextButton button;
};

/// A button in some state, and what is at the left of its title.
struct ButtonLook {
    const char* name;
    const char* role;
    QColor Theme::*ground;
    bool isDown = false;
    bool isHovered = false;
    bool isBusy = false;
};

class TextButtonLookTest : public TextButtonTest, public testing::WithParamInterface<ButtonLook> {};

TEST_P(TextButtonLookTest, HasAGroundOfItsOwn) {
    button.setButtonRole(GetParam().role);
    button.setDown(GetParam().isDown);
    button.setAttribute(Qt::WA_UnderMouse, GetParam().isHovered);
    button.setBusy(GetParam().isBusy);
    EXPECT_EQ(at(14, 30), currentTheme().*GetParam().ground);
}

INSTANTIATE_TEST_SUITE_P(
    States, TextButtonLookTest,
    testing::Values(ButtonLook{"Primary", "primary", &Theme::accent},
                    ButtonLook{"PrimaryDown", "primary", &Theme::accentPressed, true, true},
                    ButtonLook{"PrimaryHovered", "primary", &Theme::accentHover, false, true},
                    ButtonLook{"PrimaryBusy", "primary", &Theme::secondaryText, true, true, true},
                    ButtonLook{"Secondary", "secondary", &Theme::button},
                    ButtonLook{"SecondaryDown", "secondary", &Theme::buttonPressed, true, true},
                    ButtonLook{"SecondaryHovered", "secondary", &Theme::buttonHover, false, true},
                    ButtonLook{"LinkDown", "link", &Theme::linkHover, true},
                    ButtonLook{"LinkHovered", "link", &Theme::linkHover, false, true}),
    [](const auto& each) { return each.param.name; });

TEST_F(TextButtonTest, PlateLeavesRoomForTheFocusRingAndHasAnOutlineUnlessItIsPrimary) {
    const QColor ground = at(1, 30);
    EXPECT_EQ(at(2, 30), ground);
    for (const QPoint& onOutline :
         {QPoint(3, 30), QPoint(196, 30), QPoint(100, 3), QPoint(100, 56)}) {
        EXPECT_EQ(colourAt(button, onOutline), currentTheme().buttonBorder) << onOutline.x();
    }
    EXPECT_EQ(at(4, 30), currentTheme().button);
    EXPECT_EQ(at(100, 57), ground);
    button.setButtonRole("primary");
    EXPECT_EQ(at(3, 30), currentTheme().accent);
    EXPECT_EQ(at(2, 30), ground);
    // The corners are round.
    EXPECT_EQ(at(3, 3), ground);
    EXPECT_EQ(at(3, 11), currentTheme().accent);
    button.setButtonRole("link");
    EXPECT_EQ(at(14, 30), ground);
}

TEST_F(TextButtonTest, TitleHasTheColourOfItsRole) {
    useFontOf(40);
    EXPECT_TRUE(shows(currentTheme().text));
    button.setButtonRole("primary");
    EXPECT_TRUE(shows(currentTheme().onAccent));
    EXPECT_FALSE(shows(currentTheme().text));
    button.setButtonRole("link");
    EXPECT_TRUE(shows(currentTheme().link));
}

TEST_F(TextButtonTest, TitleStandsInTheMiddle) {
    button.setButtonRole("link");
    const QColor ground = at(0, 0);
    const QRect ink = inkOn(look(), ground);
    ASSERT_FALSE(ink.isEmpty());
    EXPECT_NEAR(ink.center().x(), 100, 1);
    const int below = 60 - title().heightForWidth(192);
    button.resize(200, 100);
    EXPECT_EQ(inkOn(look(), ground), ink.translated(0, 20));
    // Where the room is too low it begins at the room's upper edge.
    button.resize(200, 60 - below);
    EXPECT_EQ(inkOn(look(), ground).top(), ink.top() - below / 2 + 7);
}

TEST_F(TextButtonTest, FaintWhereItIsDisabledUnlessTheContrastIsHigh) {
    const QImage usual = look();
    button.setEnabled(false);
    const QImage disabled = look();
    EXPECT_NE(disabled, usual);
    for (const char* role : {"secondary", "link"}) {
        button.setButtonRole(role);
        button.setAttribute(Qt::WA_UnderMouse, false);
        const QImage resting = look();
        button.setAttribute(Qt::WA_UnderMouse);
        EXPECT_EQ(look(), resting) << role;
    }
    setHighContrast(true);
    const QImage strong = look();
    button.setAttribute(Qt::WA_UnderMouse, false);
    button.setEnabled(true);
    EXPECT_EQ(look(), strong);
}

TEST_F(TextButtonTest, ShowsThreeDotsWhileItIsBusy) {
    useFontOf(40);
    button.setBusy(true);
    const QImage busy = look();
    std::vector<int> dots;
    for (int x = 1; x < 200; ++x) {
        if (busy.pixelColor(x, 30) == currentTheme().card &&
            busy.pixelColor(x - 1, 30) != currentTheme().card) {
            dots.push_back(x);
        }
    }
    ASSERT_EQ(dots.size(), 3U);
    EXPECT_NEAR(dots[1] - dots[0], 0.55 * button.fontMetrics().height(), 1);
    EXPECT_NEAR(dots[2] - dots[1], 0.55 * button.fontMetrics().height(), 1);
    EXPECT_NEAR(100 - dots[1], 0.13 * button.fontMetrics().height(), 1.5);
    // In the middle of the height, too.
    for (int y = 0; y < 30; ++y) {
        const int mirrored = 59 - y;
        EXPECT_EQ(busy.pixelColor(dots[1] + 1, y) == currentTheme().card,
                  busy.pixelColor(dots[1] + 1, mirrored) == currentTheme().card)
            << y;
    }
    // The dots have no outline, as the plate of this role has one.
    button.setButtonRole("primary");
    const QRect inside(20, 10, 160, 40);
    EXPECT_EQ(look().copy(inside), busy.copy(inside));
    button.setButtonRole("secondary");
    button.setLiteralText("");
    EXPECT_EQ(look(), busy);
    button.setBusy(false);
    EXPECT_NE(look(), busy);
}

TEST_F(TextButtonTest, FocusHasARingAroundThePlate) {
    focus();
    for (const int edge : {0, 1, 198, 199}) {
        EXPECT_EQ(at(edge, 30), currentTheme().link) << edge;
    }
    for (const int edge : {0, 1, 58, 59}) {
        EXPECT_EQ(at(100, edge), currentTheme().link) << edge;
    }
    EXPECT_NE(at(2, 30), currentTheme().link);
    EXPECT_NE(at(0, 0), currentTheme().link);
    EXPECT_EQ(at(0, 13), currentTheme().link);
    // Its corners are rounder than the plate's.
    EXPECT_NE(at(0, 7), currentTheme().link);
}

TEST_F(TextButtonTest, HasRoomAroundItsTitle) {
    EXPECT_EQ(button.textRoom(), QRect(23, 11, 154, 38));
    EXPECT_EQ(button.sizeHint(), QSize(title().naturalWidth() + 46, 46));
    button.setButtonRole("link");
    EXPECT_EQ(button.textRoom(), QRect(4, 7, 192, 46));
    EXPECT_EQ(button.sizeHint(),
              QSize(title().naturalWidth() + 8, title().heightForWidth(1000) + 14));
}

TEST_F(TextButtonTest, IsAsHighAsItsTitleAsks) {
    button.setLiteralText("one two three four five six");
    useFontOf(30);
    const int lines = title().heightForWidth(104);
    ASSERT_GT(lines, 2 * title().heightForWidth(4000));
    EXPECT_TRUE(button.hasHeightForWidth());
    EXPECT_EQ(button.heightForWidth(150), lines + 22);
    useFontOf(10);
    EXPECT_EQ(button.heightForWidth(4000), 46);
    button.setLiteralText("");
    useFontOf(50);
    EXPECT_EQ(button.heightForWidth(50), button.fontMetrics().height() + 22);
}

TEST_F(TextButtonTest, IsNeverWiderThanAWindowMayBe) {
    button.setLiteralText(QString(1500, 'w'));
    EXPECT_EQ(button.sizeHint().width(), 4000);
    EXPECT_EQ(button.sizeHint().height(), title().heightForWidth(3954) + 22);
}

TEST_F(TextButtonTest, KeepsTheWidthOfAWordWhenItsRowIsShortOfRoom) {
    useFontOf(10);
    button.setLiteralText("Go");
    EXPECT_EQ(button.minimumSizeHint(), button.sizeHint());
    button.setLiteralText(QString("short ").repeated(20));
    EXPECT_EQ(button.minimumSizeHint(), QSize(96 + 46, 46));
    useFontOf(20);
    const int most = 8 * button.fontMetrics().height();
    button.setLiteralText(QString(100, 'w'));
    EXPECT_EQ(button.minimumSizeHint().width(), most + 46);
    button.setLiteralText("wwwwwwww and more");
    const int word = title().widestWord();
    ASSERT_GT(word, 96);
    ASSERT_LT(word, most);
    EXPECT_EQ(button.minimumSizeHint().width(), word + 46);
}

TEST_F(TextButtonTest, UsesOfAWidthWhatItsLinesNeed) {
    button.setLiteralText("one two three four five six");
    EXPECT_EQ(button.widthWithin(4000), title().naturalWidth() + 46);
    EXPECT_EQ(button.widthWithin(180), title().usedWidth(180 - 46) + 46);
    EXPECT_LT(button.widthWithin(180), 180);
    EXPECT_EQ(button.widthWithin(0), button.widthWithin(button.minimumSizeHint().width()));
}

TEST_F(TextButtonTest, RolesHaveAWeightAndAPointer) {
    EXPECT_EQ(TextButton().textFont().weight(), QFont::DemiBold);
    EXPECT_EQ(button.textFont().weight(), QFont::DemiBold);
    EXPECT_EQ(button.cursor().shape(), Qt::ArrowCursor);
    button.setButtonRole("link");
    EXPECT_EQ(button.textFont().weight(), QFont::Medium);
    EXPECT_EQ(button.cursor().shape(), Qt::PointingHandCursor);
    useFontOf(33);
    EXPECT_EQ(button.textFont().pixelSize(), 33);
    EXPECT_EQ(button.textFont().weight(), QFont::Medium);
}

TEST_F(TextButtonTest, IsLetGoWhenItIsDisabled) {
    button.setDown(true);
    button.setEnabled(false);
    EXPECT_FALSE(button.isDown());
}

TEST_F(TextButtonTest, IsNoDialoguesDefaultAndTakesTheFocus) {
    QDialog dialogue;
    EXPECT_FALSE(TextButton(&dialogue).autoDefault());
    EXPECT_EQ(button.focusPolicy(), Qt::StrongFocus);
    EXPECT_TRUE(button.testAttribute(Qt::WA_Hover));
}

TEST_F(TextButtonTest, ReturnThatIsHeldPressesItOnce) {
    const QSignalSpy clicked(&button, &QAbstractButton::clicked);
    for (const bool isRepeated : {false, true, true}) {
        QKeyEvent press(QEvent::KeyPress, Qt::Key_Return, Qt::NoModifier, "\r", isRepeated);
        QCoreApplication::sendEvent(&button, &press);
        EXPECT_TRUE(press.isAccepted());
    }
    EXPECT_EQ(clicked.count(), 1);
    QKeyEvent other(QEvent::KeyPress, Qt::Key_F5, Qt::NoModifier);
    QCoreApplication::sendEvent(&button, &other);
    EXPECT_FALSE(other.isAccepted());
}

TEST(ShownTextButtonTest, IsLaidOutAndPaintedAnewWhenItChanges) {
    QWidget window;
    QVBoxLayout layout(&window);
    auto* button = new TextButton;
    layout.addWidget(button);
    button->setLiteralText("Update");
    window.resize(300, 100);
    window.show();
    Events layouts(window, QEvent::LayoutRequest);
    Events paints(*button, QEvent::Paint);
    layouts.take();
    const auto expectPainted = [&](bool laidOut) {
        EXPECT_EQ(layouts.take() > 0, laidOut);
        EXPECT_GT(paints.take(), 0);
    };
    paints.take();
    button->setBusy(true);
    expectPainted(false);
    button->setBusy(false);
    expectPainted(false);
    button->setLiteralText("Updatf");
    expectPainted(true);
    button->setButtonRole("link");
    expectPainted(true);
    button->setLeastWidth(200);
    EXPECT_GT(layouts.take(), 0);
}

}  // namespace
}  // namespace velunor
