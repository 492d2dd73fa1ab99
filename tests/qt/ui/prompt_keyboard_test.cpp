#include <QApplication>
#include <QTest>
#include <chrono>

#include "platform/qt/password_field/secure_text_field.h"
#include "platform/qt/widgets/text_button.h"
#include "tests/qt/ui/prompt_window_fixture.h"

namespace velunor {
namespace {

/// Counts how often a widget is painted while the pointer is a busy one.
class BusyPaints final : public QObject {
  public:
    explicit BusyPaints(QWidget& widget) { widget.installEventFilter(this); }
    [[nodiscard]] int count() const { return count_; }
    bool eventFilter(QObject*, QEvent* event) override {
        const QCursor* pointer = QGuiApplication::overrideCursor();
        if (event->type() == QEvent::Paint && pointer != nullptr &&
            pointer->shape() == Qt::WaitCursor) {
            ++count_;
        }
        return false;
    }

  private:
    int count_ = 0;
};

class PromptKeyboardTest : public PromptWindowTest {
  protected:
    /// What a window manager does, asked by the user or not.
    void activate() {
        window.activateWindow();
        ASSERT_TRUE(waitUntil([&] { return window.isActiveWindow(); }));
    }
    /// Comes into the window by a click beside its controls.
    void enter() {
        activate();
        QTest::mouseClick(&window, Qt::LeftButton, {}, QPoint(200, 6));
    }
    void leaveAndComeBack() {
        QWidget other;
        other.show();
        other.activateWindow();
        ASSERT_TRUE(waitUntil([&] { return other.isActiveWindow(); }));
        activate();
    }
};

TEST_F(PromptKeyboardTest, CannotBeClosed) {
    show();

    EXPECT_FALSE(window.close());
    QTest::keyClick(&window, Qt::Key_Escape);
    EXPECT_TRUE(window.isVisible());
}

TEST_F(PromptKeyboardTest, DoesNotStandInTheWayOfTheEndOfTheApplication) {
    show();

    QEvent quit(QEvent::Quit);
    QCoreApplication::sendEvent(qApp, &quit);

    EXPECT_TRUE(quit.isAccepted());
    EXPECT_FALSE(window.isVisible());
    QCoreApplication::removePostedEvents(qApp, QEvent::Quit);
}

TEST_F(PromptKeyboardTest, DoesNotAskForTheFocus) {
    EXPECT_TRUE(window.testAttribute(Qt::WA_ShowWithoutActivating));
    EXPECT_TRUE(window.windowFlags().testFlag(Qt::FramelessWindowHint));
}

TEST_F(PromptKeyboardTest, FocusesNoButtonWhenItOpens) {
    show();
    enter();

    EXPECT_EQ(window.focusWidget(), &window);
    int presses = 0;
    window.onPostpone([&] { ++presses; });
    window.onUpdateNow([&] { ++presses; });
    for (const Qt::Key key : {Qt::Key_Return, Qt::Key_Enter, Qt::Key_Space, Qt::Key_Escape}) {
        QTest::keyClick(&window, key);
    }
    EXPECT_EQ(presses, 0);
}

TEST_F(PromptKeyboardTest, HasNoCaretAndAnswersNoKeyWhenOnlyAWindowManagerActivatesIt) {
    prompt.credentials = true;
    show();
    activate();

    EXPECT_EQ(window.focusWidget(), &window);
    QTest::keyClicks(window.focusWidget(), "typed elsewhere");
    EXPECT_EQ(find<CustomSecureTextField>("passwordTextFiled").length(), 0);
    // A Tab in the midst of words is one of them.
    QTest::keyClick(window.focusWidget(), Qt::Key_Tab);
    QTest::keyClick(window.focusWidget(), Qt::Key_Backtab);
    EXPECT_EQ(window.focusWidget(), &window);
    EXPECT_TRUE(waitUntil([&] {
        QTest::keyClick(window.focusWidget(), Qt::Key_Tab);
        return window.focusWidget() == &find("passwordTextFiled");
    }));
}

TEST_F(PromptKeyboardTest, TakesNoTabWhileItIsNew) {
    prompt.credentials = true;
    show();
    activate();

    QTest::keyClick(window.focusWidget(), Qt::Key_Tab);
    EXPECT_EQ(window.focusWidget(), &window);
    EXPECT_TRUE(waitUntil([&] {
        QTest::keyClick(window.focusWidget(), Qt::Key_Tab);
        return window.focusWidget() == &find("passwordTextFiled");
    }));
}

TEST_F(PromptKeyboardTest, TakesNoTabRightAfterItWasGivenTheKeyboard) {
    prompt.credentials = true;
    show();
    const auto tabLeadsIn = [&] {
        QTest::keyClick(window.focusWidget(), Qt::Key_Tab);
        return window.focusWidget() == &find("passwordTextFiled");
    };
    activate();
    ASSERT_TRUE(waitUntil(tabLeadsIn));
    window.setFocus();

    leaveAndComeBack();

    EXPECT_FALSE(tabLeadsIn());
    EXPECT_TRUE(waitUntil(tabLeadsIn));
}

TEST_F(PromptKeyboardTest, TakesNoTabThatComesBeforeTheNewsThatItHasTheKeyboard) {
    prompt.credentials = true;
    show();
    const auto tabLeadsIn = [&] {
        QTest::keyClick(&window, Qt::Key_Tab);
        return window.focusWidget() == &find("passwordTextFiled");
    };
    EXPECT_FALSE(tabLeadsIn());
    activate();
    ASSERT_TRUE(waitUntil(tabLeadsIn));
    window.setFocus();

    QWidget other;
    other.show();
    other.activateWindow();
    ASSERT_TRUE(waitUntil([&] { return other.isActiveWindow(); }));

    EXPECT_FALSE(tabLeadsIn());
}

TEST_F(PromptKeyboardTest, TakesNoTabThatWasPressedThenHoweverLateItComes) {
    prompt.credentials = true;
    show();
    const auto now = [] {
        return std::chrono::duration_cast<std::chrono::milliseconds>(
            std::chrono::steady_clock::now().time_since_epoch());
    };
    const auto tabLeadsIn = [&](std::chrono::milliseconds pressedAt) {
        QKeyEvent tab(QEvent::KeyPress, Qt::Key_Tab, Qt::NoModifier);
        tab.setTimestamp(static_cast<quint64>(pressedAt.count()));
        QCoreApplication::sendEvent(window.focusWidget(), &tab);
        return window.focusWidget() == &find("passwordTextFiled");
    };
    activate();
    ASSERT_TRUE(waitUntil([&] { return tabLeadsIn(now()); }));
    window.setFocus();

    leaveAndComeBack();
    const auto given = now();
    ASSERT_TRUE(waitUntil([&] { return now() > given + std::chrono::milliseconds(1500); }));

    EXPECT_FALSE(tabLeadsIn(given + std::chrono::milliseconds(20)));
    EXPECT_TRUE(tabLeadsIn(now()));
}

TEST_F(PromptKeyboardTest, TakesATabRightAfterAClickThatBroughtTheKeyboard) {
    show();
    QTest::mouseClick(&window, Qt::LeftButton, {}, QPoint(200, 6));
    activate();

    QTest::keyClick(window.focusWidget(), Qt::Key_Tab);
    EXPECT_NE(window.focusWidget(), &window);
}

TEST_F(PromptKeyboardTest, PutsTheCaretIntoThePasswordForWhoComesIn) {
    prompt.credentials = true;
    show();
    enter();

    EXPECT_EQ(window.focusWidget(), &find("passwordTextFiled"));
}

TEST_F(PromptKeyboardTest, PutsTheCaretIntoAnEmptyUserNameFirst) {
    prompt.credentials = true;
    prompt.otherUser = true;
    prompt.userName = "";
    show();

    enter();

    EXPECT_EQ(window.focusWidget(), &find("userNameTextField"));
}

TEST_F(PromptKeyboardTest, PutsTheCaretIntoThePasswordBelowAFilledUserName) {
    prompt.credentials = true;
    prompt.otherUser = true;
    show();

    enter();

    EXPECT_EQ(window.focusWidget(), &find("passwordTextFiled"));
}

TEST_F(PromptKeyboardTest, LeavesTheCaretWhereItWas) {
    prompt.credentials = true;
    prompt.otherUser = true;
    show();
    enter();
    find("userNameTextField").setFocus();

    leaveAndComeBack();
    EXPECT_EQ(window.focusWidget(), &find("userNameTextField"));
    // A click beside the controls takes it away from none of them.
    QTest::mouseClick(&window, Qt::LeftButton, {}, QPoint(200, 6));
    EXPECT_EQ(window.focusWidget(), &find("userNameTextField"));
}

TEST_F(PromptKeyboardTest, DoesNothingOnEscapeInAField) {
    int presses = 0;
    window.onPostpone([&] { ++presses; });
    window.onUpdateNow([&] { ++presses; });
    prompt.credentials = true;
    show();
    enter();
    auto& password = find<CustomSecureTextField>("passwordTextFiled");
    password.type(u"typed");

    QTest::keyClick(&password, Qt::Key_Escape);

    EXPECT_EQ(presses, 0);
    EXPECT_EQ(password.length(), 5);
    EXPECT_TRUE(window.isVisible());
}

TEST_F(PromptKeyboardTest, ReachesEveryControlByTheTabKeyInTheOrderOfReading) {
    prompt.credentials = true;
    show();
    enter();
    auto& password = find<CustomSecureTextField>("passwordTextFiled");
    password.type(u"typed");

    const std::vector<QWidget*> ring{&password, &password.revealButton(), &find("postponeButton"),
                                     &find("updateNowButton"), &find("usernameChangeButton")};
    for (int turn = 0; turn < 2; ++turn) {
        for (QWidget* next : ring) {
            if (next == &password && turn == 0) {
                EXPECT_EQ(window.focusWidget(), next);
                continue;
            }
            QTest::keyClick(window.focusWidget(), Qt::Key_Tab);
            EXPECT_EQ(window.focusWidget(), next) << next->objectName().toStdString();
        }
    }
    QTest::keyClick(window.focusWidget(), Qt::Key_Backtab);
    EXPECT_EQ(window.focusWidget(), &find("updateNowButton"));
}

TEST_F(PromptKeyboardTest, PressesTheButtonThatHasTheFocus) {
    std::string pressed;
    window.onUpdateNow([&] { pressed += "update "; });
    window.onPostpone([&] { pressed += "postpone "; });
    show();
    enter();

    find("postponeButton").setFocus();
    QTest::keyClick(&find("postponeButton"), Qt::Key_Space);
    find("updateNowButton").setFocus();
    QTest::keyClick(&find("updateNowButton"), Qt::Key_Return);

    EXPECT_EQ(pressed, "postpone update ");
}

TEST_F(PromptKeyboardTest, TellsWhichButtonWasPressed) {
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

TEST_F(PromptKeyboardTest, TakesReturnInTheFieldsAsUpdateNow) {
    int updates = 0;
    window.onUpdateNow([&] { ++updates; });
    prompt.credentials = true;
    prompt.otherUser = true;
    show();

    QTest::keyClick(&find("userNameTextField"), Qt::Key_Return);
    EXPECT_EQ(updates, 1);
    EXPECT_TRUE(waitUntil([&] {
        QTest::keyClick(&find("passwordTextFiled"), Qt::Key_Enter);
        return updates == 2;
    }));
}

TEST_F(PromptKeyboardTest, PressingDuringACheckAndRightAfterItIsNoFurtherOne) {
    int updates = 0;
    window.onUpdateNow([&] { ++updates; });
    show();

    auto& button = find<TextButton>("updateNowButton");
    button.click();
    button.click();
    EXPECT_EQ(updates, 1);
    EXPECT_TRUE(waitUntil([&] {
        button.click();
        return updates == 2;
    }));
}

TEST_F(PromptKeyboardTest, LooksBusyDuringACheckAndAsBeforeAfterIt) {
    prompt.credentials = true;
    show();
    auto& button = find<TextButton>("updateNowButton");
    const QImage before = button.grab().toImage();
    const BusyPaints paints(button);
    QImage during;
    int paintedBefore = 0;
    window.onUpdateNow([&] {
        paintedBefore = paints.count();
        during = button.grab().toImage();
    });

    button.click();

    EXPECT_GT(paintedBefore, 0);
    EXPECT_NE(during, before);
    EXPECT_EQ(button.grab().toImage(), before);
    EXPECT_EQ(QGuiApplication::overrideCursor(), nullptr);
}

TEST_F(PromptKeyboardTest, PassesOverReturnWhileUpdateNowIsHidden) {
    int updates = 0;
    window.onUpdateNow([&] { ++updates; });
    prompt.credentials = true;
    show();
    window.view().outlets.updateNowButton->setHidden(true);

    QTest::keyClick(&find("passwordTextFiled"), Qt::Key_Return);

    EXPECT_EQ(updates, 0);
}

}  // namespace
}  // namespace velunor
