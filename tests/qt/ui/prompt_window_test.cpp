#include "ui/prompt_window.h"

#include <QMouseEvent>
#include <QTimer>
#include <QWindow>
#include <set>

#include "platform/qt/application/image_reader.h"
#include "platform/qt/controls/control_adapters.h"
#include "platform/qt/desktop/display.h"
#include "tests/qt/ui/prompt_window_fixture.h"
#include "ui/form.h"

namespace velunor {
namespace {

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

TEST_F(PromptWindowTest, GivesALogoTheWidthOfItsPictureUpToALimit) {
    const PromptView view = window.view();
    const auto shownSize = [&](int width, int height) {
        view.outlets.appIcon->setImage(
            std::make_shared<QtImage>(QImage(width, height, QImage::Format_RGB32)));
        view.outlets.userIcon->setImage(
            std::make_shared<QtImage>(QImage(width, height, QImage::Format_RGB32)));
        show();
        EXPECT_EQ(find("userIcon").size(), QSize(40, 40));
        return find("appIcon").size();
    };
    prompt.credentials = true;
    EXPECT_EQ(shownSize(64, 64), QSize(24, 24));
    EXPECT_EQ(shownSize(400, 100), QSize(96, 24));
    EXPECT_EQ(shownSize(2000, 100), QSize(140, 24));
    EXPECT_EQ(shownSize(100, 400), QSize(24, 24));
    EXPECT_GT(find("productNameLabel").width(), 200);
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

TEST_F(PromptWindowTest, StaysUnderAButtonThatIsHeld) {
    prompt.credentials = true;
    show();
    auto& button = find<TextButton>("updateNowButton");
    int clicks = 0;
    QObject::connect(&button, &TextButton::clicked, [&] { ++clicks; });
    const int height = window.height();
    const QPoint pressedAt = button.mapTo(&window, button.rect().center());
    const auto post = [&](QEvent::Type type, Qt::MouseButtons held) {
        QMouseEvent event(type, button.mapFrom(&window, pressedAt), window.mapToGlobal(pressedAt),
                          Qt::LeftButton, held, Qt::NoModifier);
        QCoreApplication::sendEvent(&button, &event);
    };

    // What is pressed ends the editing of a name, which shows the notice.
    post(QEvent::MouseButtonPress, Qt::LeftButton);
    prompt.notice = true;
    prompt.fill(window);
    int turns = 0;
    QTimer turn;
    QObject::connect(&turn, &QTimer::timeout, [&] { ++turns; });
    turn.start(5);
    ASSERT_TRUE(waitUntil([&] { return turns >= 20; }));
    EXPECT_EQ(window.height(), height);

    post(QEvent::MouseButtonRelease, Qt::NoButton);
    EXPECT_EQ(clicks, 1);
    EXPECT_TRUE(waitUntil([&] { return window.height() > height; }));
}

TEST_F(PromptWindowTest, IsQuietOnceItIsPlaced) {
    for (const bool stacked : {false, true}) {
        if (stacked) {
            prompt.makeLong();
        }
        int placements = 0;
        window.onAppear([&] { ++placements; });
        show();
        int turns = 0;
        QTimer turn;
        QObject::connect(&turn, &QTimer::timeout, [&] { ++turns; });
        turn.start(5);
        ASSERT_TRUE(waitUntil([&] { return turns >= 20; }));
        const int before = placements;
        ASSERT_TRUE(waitUntil([&] { return turns >= 40; }));
        EXPECT_EQ(placements, before);
        EXPECT_LE(placements, 5);
    }
}

TEST_F(PromptWindowTest, MirrorsForARightToLeftLanguage) {
    prompt.makeRightToLeft();
    show();

    EXPECT_EQ(window.layoutDirection(), Qt::RightToLeft);
    EXPECT_LT(find("updateNowButton").x(), find("postponeButton").x());
}

TEST(WindowShapeTest, RoundsTheCornersAndNothingElse) {
    const QRegion shape = roundedRegion(QSize(100, 60), 12);

    EXPECT_EQ(shape.boundingRect(), QRect(0, 0, 100, 60));
    for (const QPoint& corner : {QPoint(0, 0), QPoint(99, 0), QPoint(0, 59), QPoint(99, 59)}) {
        EXPECT_FALSE(shape.contains(corner));
    }
    for (const QPoint& inside : {QPoint(50, 0), QPoint(0, 30), QPoint(99, 30), QPoint(50, 59),
                                 QPoint(4, 4), QPoint(95, 55)}) {
        EXPECT_TRUE(shape.contains(inside));
    }
    // The same at all four corners.
    int pixels = 0;
    for (const QRect& part : shape) {
        pixels += part.width() * part.height();
        EXPECT_EQ(part.left(), 99 - part.right());
    }
    EXPECT_NEAR(pixels, 100 * 60 - (4 - 3.14159) * 12 * 12, 8);
}

TEST(WindowShapeTest, StaysWithinASmallSize) {
    EXPECT_EQ(roundedRegion(QSize(10, 4), 12).boundingRect(), QRect(0, 0, 10, 4));
    EXPECT_EQ(roundedRegion(QSize(10, 4), 0), QRegion(0, 0, 10, 4));
}

}  // namespace
}  // namespace velunor
