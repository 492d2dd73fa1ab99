// What the window does with texts that are long beside its room.

#include <QGuiApplication>
#include <QScreen>
#include <QScrollArea>
#include <QScrollBar>
#include <QTest>

#include "platform/qt/widgets/text_button.h"
#include "platform/qt/widgets/text_label.h"
#include "tests/qt/ui/prompt_window_fixture.h"

namespace velunor {
namespace {

class PromptRoomTest : public PromptWindowTest {};

TEST_F(PromptRoomTest, CutsNoText) {
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

TEST_F(PromptRoomTest, StaysWithinTheUsableAreaAndScrollsWhatIsTooLong) {
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

TEST_F(PromptRoomTest, KeepsTheCountdownAndTheAttemptsWithTheButtons) {
    prompt.credentials = true;
    prompt.message.assign(10000, 'w');
    show();

    auto& body = find<QScrollArea>("bodyArea");
    for (const int place : {0, body.verticalScrollBar()->maximum()}) {
        body.verticalScrollBar()->setValue(place);
        for (const char* name : {"timerInfoLabel", "postponeAttemptsRemainingLabel"}) {
            EXPECT_EQ(find(name).visibleRegion(), QRegion(find(name).rect())) << name;
            EXPECT_FALSE(body.isAncestorOf(&find(name))) << name;
        }
    }
}

TEST_F(PromptRoomTest, OpensAtItsTopWhoeverGivesItTheFocus) {
    prompt.credentials = true;
    prompt.message.assign(10000, 'w');
    show();
    window.activateWindow();
    ASSERT_TRUE(waitUntil([&] { return window.isActiveWindow(); }));

    EXPECT_EQ(find<QScrollArea>("bodyArea").verticalScrollBar()->value(), 0);
    EXPECT_EQ(find("productNameLabel").visibleRegion(), QRegion(find("productNameLabel").rect()));
}

TEST_F(PromptRoomTest, ScrollsToTheFieldThatTheUserComesTo) {
    prompt.credentials = true;
    prompt.message.assign(10000, 'w');
    show();
    window.activateWindow();
    ASSERT_TRUE(waitUntil([&] { return window.isActiveWindow(); }));
    const auto inSight = [&](const char* name) {
        return find(name).visibleRegion() == QRegion(find(name).rect());
    };
    ASSERT_FALSE(inSight("usernameChangeButton"));

    find("updateNowButton").setFocus();
    QTest::keyClick(&find("updateNowButton"), Qt::Key_Tab);
    EXPECT_EQ(window.focusWidget(), &find("bodyArea"));
    QTest::keyClick(&find("bodyArea"), Qt::Key_Tab);
    EXPECT_EQ(window.focusWidget(), &find("usernameChangeButton"));
    EXPECT_TRUE(inSight("usernameChangeButton"));
}

TEST_F(PromptRoomTest, KeepsTheFieldThatIsTypedInInSightWhenANoticeComes) {
    prompt.credentials = true;
    prompt.message.assign(10000, 'w');
    show();
    window.activateWindow();
    ASSERT_TRUE(waitUntil([&] { return window.isActiveWindow(); }));
    QWidget& password = find("passwordTextFiled");
    password.setFocus();
    const auto inSight = [&] { return password.visibleRegion() == QRegion(password.rect()); };
    ASSERT_TRUE(inSight());
    const int before = password.mapTo(find<QScrollArea>("bodyArea").widget(), QPoint(0, 0)).y();

    prompt.notice = true;
    prompt.fill(window);

    ASSERT_TRUE(waitUntil([&] {
        return password.mapTo(find<QScrollArea>("bodyArea").widget(), QPoint(0, 0)).y() > before;
    }));
    EXPECT_TRUE(waitUntil(inSight));
}

TEST_F(PromptRoomTest, ScrollsCaptionsThatAreTooLong) {
    prompt.updateNowTitle.assign(10000, 'u');
    show();

    const int usable = QGuiApplication::primaryScreen()->availableGeometry().height();
    EXPECT_LE(window.height(), usable - 60);
    EXPECT_GT(find<QScrollArea>("footerArea").verticalScrollBar()->maximum(), 0);
    EXPECT_GT(find("bodyArea").height(), 100);
}

TEST_F(PromptRoomTest, LongAccountNameHasTheRoomThatTheLinkLeaves) {
    prompt.credentials = true;
    prompt.userName = "frederica.alexandrina.lindqvist-von-habersburg@corp.example.org";
    for (const char* title : {"Change", "Use another account", "Authorise with another account"}) {
        prompt.changeTitle = title;
        show();
        const auto& name = find<TextLabel>("userNameLabel");
        const auto& link = find<TextButton>("usernameChangeButton");
        // A point less and the link would take another line.
        EXPECT_GT(link.heightForWidth(link.width() - 1), link.height()) << title;
        EXPECT_EQ(link.heightForWidth(link.width()), link.height()) << title;
        const int room = find("userStackView").width() - find("userIcon").width() - 2 * 12;
        EXPECT_EQ(name.width() + link.width(), room) << title;
        EXPECT_GE(name.width(), room / 2) << title;
    }
}

TEST_F(PromptRoomTest, LinkHasTheRoomThatAShortAccountNameLeaves) {
    prompt.credentials = true;
    prompt.userName = "Ann";
    prompt.changeTitle = "Authorise with another account";
    show();

    const auto& link = find<TextButton>("usernameChangeButton");
    EXPECT_EQ(link.height(), link.heightForWidth(10000));
}

TEST_F(PromptRoomTest, StacksButtonsThatDoNotFitSideBySide) {
    prompt.makeLong();
    show();

    EXPECT_LT(top("updateNowButton"), top("postponeButton"));
    EXPECT_EQ(find("updateNowButton").width(), find("postponeButton").width());
}

TEST_F(PromptRoomTest, IsAsHighAsItsTexts) {
    show();
    const int before = window.height();
    EXPECT_EQ(find<QScrollArea>("bodyArea").verticalScrollBar()->maximum(), 0);

    window.view().outlets.messageLabel->setStringValue(prompt.message + prompt.message);

    EXPECT_TRUE(waitUntil([&] { return window.height() > before; }));
    EXPECT_EQ(find<QScrollArea>("bodyArea").verticalScrollBar()->maximum(), 0);
}

}  // namespace
}  // namespace velunor
