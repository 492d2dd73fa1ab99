#include "platform/qt/prompt_window.h"

#include <QAccessible>
#include <QApplication>
#include <QCloseEvent>
#include <QPalette>
#include <QScreen>
#include <QScrollArea>
#include <QScrollBar>
#include <QSessionManager>
#include <QTest>
#include <set>

#include "platform/qt/form_views.h"
#include "platform/qt/qt_controls.h"
#include "platform/qt/qt_desktop.h"
#include "platform/qt/theme.h"
#include "tests/qt/sample_prompt.h"
#include "tests/qt/widget_test.h"

namespace velunor {
namespace {

class PromptWindowTest : public testing::Test {
  protected:
    void show() {
        prompt.fill(window);
        window.present();
        QCoreApplication::processEvents();
    }
    template <class Widget = QWidget>
    Widget& find(const char* name) {
        return *window.findChild<Widget*>(QLatin1String(name));
    }
    /// Upper edge inside the window.
    int top(const char* name) { return find(name).mapTo(&window, QPoint(0, 0)).y(); }

    PromptWindow window;
    SamplePrompt prompt;
};

TEST_F(PromptWindowTest, ConnectsEveryOutletToAControlOfItsKind) {
    PromptView view = window.view();
    int connected = 0;
    std::set<const void*> controls;
    forEachOutlet(view.outlets, [&](const char* name, auto& outlet) {
        EXPECT_TRUE(outlet.isConnected()) << name;
        if (outlet.isConnected()) {
            ++connected;
            controls.insert(static_cast<const void*>(&*outlet));
        }
    });

    EXPECT_EQ(connected, outletCount);
    EXPECT_EQ(controls.size(), static_cast<std::size_t>(outletCount));
}

TEST_F(PromptWindowTest, HasTheTimersConstraintsOnceEach) {
    std::multiset<std::string> identifiers;
    for (const LayoutConstraint* constraint : window.view().constraints) {
        identifiers.insert(constraint->identifier());
    }

    EXPECT_EQ(identifiers.count("TimerViewToCredentailsBottomConstraint"), 1U);
    EXPECT_EQ(identifiers.count("TimerViewToOSInfoBottomConstraint"), 1U);
}

TEST_F(PromptWindowTest, WritesEachTextIntoTheWidgetOfItsName) {
    prompt.fill(window);

    EXPECT_EQ(find<TextLabel>("titleLabel").text().toStdString(), prompt.title);
    EXPECT_EQ(find<TextLabel>("messageLabel").text().toStdString(), prompt.message);
    EXPECT_EQ(find<TextButton>("postponeButton").literalText().toStdString(), prompt.postponeTitle);
}

TEST_F(PromptWindowTest, StartsWithTheAccountRowAndWithoutTheUserNameField) {
    EXPECT_FALSE(find("userStackView").isHidden());
    EXPECT_TRUE(find("userNameTextField").isHidden());
}

TEST_F(PromptWindowTest, HasASquareGearBackgroundThatCanBecomeADisc) {
    const Rect frame = window.view().outlets.updateGearBackground->frame();

    EXPECT_EQ(frame.size.width, frame.size.height);
    EXPECT_GT(frame.size.height, 0);
}

TEST_F(PromptWindowTest, KnowsTheButtonsWidthBeforeItIsShown) {
    PromptView view = window.view();
    view.outlets.updateNowButton->setTitle("Update Now");
    const double width = view.outlets.updateNowButton->frame().size.width;
    view.outlets.updateNowButton->activateWidthConstraint(width + 10);
    window.present();

    EXPECT_EQ(find("updateNowButton").width(), width + 10);
}

TEST_F(PromptWindowTest, HasALayerForTheShake) {
    EXPECT_NE(window.view().outlets.passwordTextFiled->layer(), nullptr);
}

TEST_F(PromptWindowTest, PutsTheTimerBelowTheInformationWithoutCredentials) {
    show();

    EXPECT_TRUE(find("credentailsRequiredView").isHidden());
    const int gap =
        top("timerInfoLabel") - (top("osUpdateInfoView") + find("osUpdateInfoView").height());
    EXPECT_EQ(gap, 16);
}

TEST_F(PromptWindowTest, PutsTheTimerBelowTheCredentials) {
    prompt.credentials = true;
    show();

    const int gap = top("timerInfoLabel") -
                    (top("credentailsRequiredView") + find("credentailsRequiredView").height());
    EXPECT_EQ(gap, 16);
}

TEST_F(PromptWindowTest, PutsThePasswordBelowTheUserNameAndThenBelowTheNotice) {
    prompt.credentials = true;
    show();
    EXPECT_EQ(top("passwordTextFiled") - (top("userStackView") + find("userStackView").height()),
              12);

    prompt.notice = true;
    prompt.fill(window);
    ASSERT_TRUE(waitUntil([&] { return find("unsupportedInfoStackView").height() > 12; }));
    ASSERT_TRUE(waitUntil([&] {
        return top("passwordTextFiled") -
                   (top("unsupportedInfoStackView") + find("unsupportedInfoStackView").height()) ==
               12;
    }));
}

TEST_F(PromptWindowTest, IsAsHighAsItsTexts) {
    show();
    const int before = window.height();
    EXPECT_EQ(find<QScrollArea>("bodyArea").verticalScrollBar()->maximum(), 0);

    window.view().outlets.messageLabel->setStringValue(prompt.message + prompt.message);

    EXPECT_TRUE(waitUntil([&] { return window.height() > before; }));
    EXPECT_EQ(find<QScrollArea>("bodyArea").verticalScrollBar()->maximum(), 0);
}

TEST_F(PromptWindowTest, CutsNoText) {
    prompt.makeLong();
    prompt.credentials = true;
    prompt.notice = true;
    prompt.message.assign(10000, 'w');
    prompt.postponeTitle.assign(10000, 'p');
    show();

    for (const auto* label : window.findChildren<TextLabel*>()) {
        EXPECT_GE(label->height(), label->heightForWidth(label->width()))
            << label->objectName().toStdString();
        EXPECT_LE(label->mapTo(&window, QPoint(label->width(), 0)).x(), window.width());
    }
    for (const auto* button : window.findChildren<TextButton*>()) {
        EXPECT_GE(button->height(), button->heightForWidth(button->width()))
            << button->objectName().toStdString();
        EXPECT_LE(button->mapTo(&window, QPoint(button->width(), 0)).x(), window.width());
    }
}

TEST_F(PromptWindowTest, StaysWithinTheUsableAreaAndScrollsWhatIsTooLong) {
    prompt.message.assign(10000, 'w');
    show();

    const int usable = QGuiApplication::primaryScreen()->availableGeometry().height();
    EXPECT_LE(window.height(), usable - 60);
    EXPECT_GT(find<QScrollArea>("bodyArea").verticalScrollBar()->maximum(), 0);
    // The buttons are in sight all the same.
    const int lowerEdge = top("updateNowButton") + find("updateNowButton").height();
    EXPECT_LE(lowerEdge, window.height());
    EXPECT_EQ(find<QScrollArea>("footerArea").verticalScrollBar()->maximum(), 0);
}

TEST_F(PromptWindowTest, ScrollsCaptionsThatAreTooLong) {
    prompt.updateNowTitle.assign(10000, 'u');
    show();

    const int usable = QGuiApplication::primaryScreen()->availableGeometry().height();
    EXPECT_LE(window.height(), usable - 60);
    EXPECT_GT(find<QScrollArea>("footerArea").verticalScrollBar()->maximum(), 0);
    EXPECT_GT(find("bodyArea").height(), 100);
}

TEST_F(PromptWindowTest, StacksButtonsThatDoNotFitSideBySide) {
    prompt.makeLong();
    show();

    EXPECT_LT(top("updateNowButton"), top("postponeButton"));
    EXPECT_EQ(find("updateNowButton").width(), find("postponeButton").width());
}

TEST_F(PromptWindowTest, IsPlacedAtItsFinalSizeBeforeItIsVisible) {
    std::vector<QSize> sizes;
    std::vector<bool> visible;
    window.onAppear([&] {
        sizes.push_back(window.size());
        visible.push_back(window.windowHandle() != nullptr && window.windowHandle()->isVisible());
    });
    show();

    ASSERT_FALSE(sizes.empty());
    EXPECT_FALSE(visible.front());
    EXPECT_EQ(sizes.front(), window.size());
}

TEST_F(PromptWindowTest, IsPlacedAgainWhenItsHeightChanges) {
    int placements = 0;
    window.onAppear([&] { ++placements; });
    show();
    const int before = placements;

    window.view().outlets.messageLabel->setStringValue("one\ntwo\nthree\nfour\nfive\nsix");

    EXPECT_TRUE(waitUntil([&] { return placements > before; }));
}

TEST_F(PromptWindowTest, CannotBeClosed) {
    show();

    EXPECT_FALSE(window.close());
    QTest::keyClick(&window, Qt::Key_Escape);
    EXPECT_TRUE(window.isVisible());
}

TEST_F(PromptWindowTest, DoesNotStandInTheWayOfTheEndOfTheApplication) {
    show();

    QEvent quit(QEvent::Quit);
    QCoreApplication::sendEvent(qApp, &quit);

    EXPECT_TRUE(quit.isAccepted());
    EXPECT_FALSE(window.isVisible());
    QCoreApplication::removePostedEvents(qApp, QEvent::Quit);
}

TEST_F(PromptWindowTest, DoesNotAskForTheFocus) {
    EXPECT_TRUE(window.testAttribute(Qt::WA_ShowWithoutActivating));
    EXPECT_TRUE(window.windowFlags().testFlag(Qt::FramelessWindowHint));
}

TEST_F(PromptWindowTest, FocusesNoButtonWhenItOpens) {
    prompt.credentials = true;
    show();
    window.activateWindow();
    QCoreApplication::processEvents();

    EXPECT_EQ(window.focusWidget(), &window);
    int presses = 0;
    window.onPostpone([&] { ++presses; });
    window.onUpdateNow([&] { ++presses; });
    for (const Qt::Key key : {Qt::Key_Return, Qt::Key_Enter, Qt::Key_Space}) {
        QTest::keyClick(&window, key);
    }
    EXPECT_EQ(presses, 0);
}

TEST_F(PromptWindowTest, ReachesEveryControlByTheTabKey) {
    prompt.credentials = true;
    show();
    window.activateWindow();
    ASSERT_TRUE(waitUntil([&] { return window.isActiveWindow(); }));

    for (const char* name :
         {"usernameChangeButton", "passwordTextFiled", "postponeButton", "updateNowButton"}) {
        QTest::keyClick(window.focusWidget(), Qt::Key_Tab);
        EXPECT_EQ(window.focusWidget(), &find(name)) << name;
    }
}

TEST_F(PromptWindowTest, TellsWhichButtonWasPressed) {
    std::string pressed;
    window.onUpdateNow([&] { pressed += "update "; });
    window.onPostpone([&] { pressed += "postpone "; });
    window.onChangeUserName([&] { pressed += "change "; });
    prompt.credentials = true;
    show();

    for (const char* name : {"updateNowButton", "postponeButton", "usernameChangeButton"}) {
        QTest::mouseClick(&find(name), Qt::LeftButton);
    }

    EXPECT_EQ(pressed, "update postpone change ");
}

TEST_F(PromptWindowTest, TakesReturnInTheFieldsAsUpdateNow) {
    int updates = 0;
    window.onUpdateNow([&] { ++updates; });
    prompt.credentials = true;
    prompt.otherUser = true;
    show();

    QTest::keyClick(&find("userNameTextField"), Qt::Key_Return);
    EXPECT_EQ(updates, 1);
    QTest::keyClick(&find("passwordTextFiled"), Qt::Key_Enter);
    EXPECT_EQ(updates, 2);
}

TEST_F(PromptWindowTest, PassesOverReturnWhileUpdateNowIsHidden) {
    int updates = 0;
    window.onUpdateNow([&] { ++updates; });
    prompt.credentials = true;
    show();
    window.view().outlets.updateNowButton->setHidden(true);

    QTest::keyClick(&find("passwordTextFiled"), Qt::Key_Return);

    EXPECT_EQ(updates, 0);
}

TEST_F(PromptWindowTest, MirrorsForARightToLeftLanguage) {
    prompt.makeRightToLeft();
    show();

    EXPECT_EQ(window.layoutDirection(), Qt::RightToLeft);
    EXPECT_LT(find("updateNowButton").x(), find("postponeButton").x());
}

TEST_F(PromptWindowTest, HasItsTitleForTheDesktop) {
    prompt.title = "Update [*] & <b>restart</b>";
    show();

    EXPECT_EQ(window.windowTitle(), "Update [*][*] & <b>restart</b>");
    QAccessibleInterface* accessible = QAccessible::queryAccessibleInterface(&window);
    ASSERT_NE(accessible, nullptr);
    EXPECT_EQ(accessible->text(QAccessible::Name), "Update [*] & <b>restart</b>");
}

TEST_F(PromptWindowTest, NamesItsFieldsForAScreenReader) {
    for (const char* name : {"userNameTextField", "passwordTextFiled"}) {
        QAccessibleInterface* accessible = QAccessible::queryAccessibleInterface(&find(name));
        ASSERT_NE(accessible, nullptr);
        EXPECT_FALSE(accessible->text(QAccessible::Name).isEmpty()) << name;
    }
    QAccessibleInterface* password =
        QAccessible::queryAccessibleInterface(&find("passwordTextFiled"));
    EXPECT_TRUE(password->state().passwordEdit);
}

TEST_F(PromptWindowTest, FollowsTheDesktopsSchemeWhileItIsShown) {
    const QPalette before = QApplication::palette();
    QApplication::setPalette(QPalette(QColor(0xF0, 0xF0, 0xF0)));
    show();
    const QRgb light = window.grab().toImage().pixel(210, 4);

    QPalette dark(QColor(0x30, 0x30, 0x30), QColor(0x20, 0x20, 0x20));
    dark.setColor(QPalette::WindowText, Qt::white);
    QApplication::setPalette(dark);
    QCoreApplication::processEvents();
    const QRgb shown = window.grab().toImage().pixel(210, 4);
    QApplication::setPalette(before);

    EXPECT_GT(qGray(light), 200);
    EXPECT_LT(qGray(shown), 80);
}

/// Contrast of two colours by the web accessibility guidelines, from 1 to 21.
double contrast(const QColor& one, const QColor& other) {
    const auto luminance = [](const QColor& color) {
        const auto linear = [](double part) {
            return part <= 0.03928 ? part / 12.92 : std::pow((part + 0.055) / 1.055, 2.4);
        };
        return 0.2126 * linear(color.redF()) + 0.7152 * linear(color.greenF()) +
               0.0722 * linear(color.blueF());
    };
    const double first = luminance(one) + 0.05;
    const double second = luminance(other) + 0.05;
    return std::max(first, second) / std::min(first, second);
}

TEST(ThemeTest, HasEnoughContrastInBothSchemes) {
    QPalette dark(QColor(0x30, 0x30, 0x30), QColor(0x20, 0x20, 0x20));
    dark.setColor(QPalette::WindowText, Qt::white);
    for (const QPalette& palette : {QPalette(QColor(0xF0, 0xF0, 0xF0)), dark}) {
        const Theme& theme = themeFor(palette);
        for (const QColor& ground : {theme.card, theme.panel}) {
            EXPECT_GE(contrast(theme.text, ground), 4.5);
            EXPECT_GE(contrast(theme.secondaryText, ground), 4.5);
            EXPECT_GE(contrast(theme.link, ground), 4.5);
            EXPECT_GE(contrast(theme.fieldBorder, ground), 3.0);
            EXPECT_GE(contrast(theme.buttonBorder, ground), 3.0);
        }
        for (const QColor& plate : {theme.accent, theme.accentHover, theme.accentPressed}) {
            EXPECT_GE(contrast(theme.onAccent, plate), 4.5);
        }
        for (const QColor& plate : {theme.button, theme.buttonHover, theme.buttonPressed}) {
            EXPECT_GE(contrast(theme.text, plate), 4.5);
        }
        EXPECT_GE(contrast(theme.noticeText, theme.notice), 4.5);
        EXPECT_GE(contrast(theme.text, theme.field), 4.5);
        EXPECT_GE(contrast(theme.secondaryText, theme.field), 4.5);
    }
}

}  // namespace
}  // namespace velunor
