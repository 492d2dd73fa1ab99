#include <QAccessible>
#include <QSignalSpy>
#include <QTest>
#include <QVBoxLayout>
#include <QVariantAnimation>
#include <utility>

#include "platform/qt/controls/control_adapters.h"
#include "tests/qt/support/widget_events.h"
#include "tests/qt/support/widget_test.h"
#include "ui/form.h"

namespace velunor {
namespace {

using QtView = WidgetControl<View>;

std::vector<std::string> hostileTexts() {
    return {"",
            "<b>bold</b>",
            "&File && more",
            "%s %1 %n",
            "two\nlines\r\nand\rmore",
            "\xEF\xBB\xBFwith a byte order mark",
            std::string("with a \0 inside", 15),
            "e\u0301 \U0001F469\u200D\U0001F4BB",
            "\u0627\u0644\u0639\u0631\u0628\u064A\u0629",
            std::string(10000, 'w')};
}

TEST(LabelTest, GivesBackExactlyWhatItWasGiven) {
    TextLabel widget;
    QtLabel label(widget);

    for (const std::string& text : hostileTexts()) {
        label.setStringValue(text);
        EXPECT_EQ(label.stringValue(), text);
    }
}

TEST(LabelTest, GivesBackStyledTextWithoutItsStyle) {
    TextLabel widget;
    QtLabel label(widget);

    label.setAttributedStringValue(
        {{"in ", std::nullopt, 0}, {"5", TextAttributes{FontWeight::bold, 17, {}}, 1}},
        Announcement::spoken);

    EXPECT_EQ(label.stringValue(), "in 5");
}

TEST(LabelTest, IsStaticTextToAScreenReader) {
    TextLabel widget;
    QtLabel(widget).setStringValue("<b>A</b> & B");

    QAccessibleInterface* accessible = QAccessible::queryAccessibleInterface(&widget);
    ASSERT_NE(accessible, nullptr);
    EXPECT_EQ(accessible->role(), QAccessible::StaticText);
    EXPECT_EQ(accessible->text(QAccessible::Name), "<b>A</b> & B");
}

void countDown(QtLabel& label, const std::string& seconds) {
    label.setAttributedStringValue(
        {{"The update begins in ", std::nullopt, 0},
         {seconds, TextAttributes{FontWeight::bold, 17, {}}, seconds.size()}},
        Announcement::silent);
}

TEST(LabelTest, IsPaintedAtOnceWhereItsTextKeepsItsSize) {
    TextLabel widget;
    QtLabel label(widget);
    countDown(label, "12");
    widget.show();
    Events paints(widget, QEvent::Paint);
    ASSERT_GT(paints.take(), 0);

    countDown(label, "11");
    EXPECT_EQ(paints.soFar(), 1);
    EXPECT_EQ(paints.take(), 1);
}

TEST(LabelTest, AsksForANewLayoutOnlyWhenItsTextNeedsAnotherSize) {
    QWidget window;
    QVBoxLayout layout(&window);
    auto* widget = new TextLabel;
    layout.addWidget(widget);
    QtLabel label(*widget);
    countDown(label, "12");
    window.show();
    Events requests(window, QEvent::LayoutRequest);
    requests.take();

    countDown(label, "11");
    EXPECT_EQ(requests.take(), 0);
    EXPECT_EQ(label.stringValue(), "The update begins in 11");
    countDown(label, "9");
    EXPECT_GT(requests.take(), 0);
    label.setStringValue("two\nlines");
    EXPECT_GT(requests.take(), 0);
}

TEST(LabelTest, TellsAScreenReaderAllOfATextThatIsNotShownWhole) {
    TextLabel widget;
    const std::string text(100'000, 'w');
    QtLabel(widget).setStringValue(text);

    const QAccessibleInterface* accessible = QAccessible::queryAccessibleInterface(&widget);
    ASSERT_NE(accessible, nullptr);
    EXPECT_EQ(accessible->text(QAccessible::Name).toStdString(), text);
    widget.resize(300, 10);
    // A window that is taller than the display's own limit is not shown at all.
    EXPECT_LT(widget.heightForWidth(300), 32767);
}

TEST(LabelTest, BreaksALongNameAtItsJoints) {
    TextLabel widget;
    widget.setTextRole("userName");
    QtLabel label(widget);
    label.setStringValue("frederica.lindqvist@corp");
    const int line = widget.heightForWidth(4000);
    TextLabel longest;
    longest.setTextRole("userName");
    QtLabel(longest).setStringValue("lindqvist@");

    // As wide as the longest part: three lines, none broken within a part.
    EXPECT_GT(widget.heightForWidth(longest.sizeHint().width()), 2 * line);
    EXPECT_LT(widget.heightForWidth(longest.sizeHint().width()), 4 * line);
    EXPECT_EQ(label.stringValue(), "frederica.lindqvist@corp");
    EXPECT_EQ(widget.text(), "frederica.lindqvist@corp");
}

TEST(LabelTest, StylesMakeItHigher) {
    TextLabel widget;
    QtLabel label(widget);
    label.setStringValue("5");
    const int plain = widget.heightForWidth(200);

    label.setAttributedStringValue({{"5", TextAttributes{FontWeight::bold, 17, {}}, 1}},
                                   Announcement::spoken);

    EXPECT_GT(widget.heightForWidth(200), plain);
}

TEST(ButtonTest, GivesBackExactlyWhatItWasGiven) {
    TextButton widget;
    QtButton button(widget);

    for (const std::string& text : hostileTexts()) {
        button.setTitle(text);
        EXPECT_EQ(button.title(), text);
    }
}

TEST(ButtonTest, HasNoMnemonic) {
    TextButton widget;
    QtButton(widget).setTitle("&Postpone");

    EXPECT_TRUE(widget.shortcut().isEmpty());
    QAccessibleInterface* accessible = QAccessible::queryAccessibleInterface(&widget);
    ASSERT_NE(accessible, nullptr);
    EXPECT_EQ(accessible->text(QAccessible::Name), "&Postpone");
    EXPECT_EQ(accessible->role(), QAccessible::Button);
}

TEST(ButtonTest, WrapsATitleThatIsTooLong) {
    TextButton widget;
    QtButton button(widget);
    button.setTitle("Update");
    const int oneLine = widget.heightForWidth(300);

    button.setTitle(std::string(300, 'w'));

    EXPECT_GT(widget.heightForWidth(300), 2 * oneLine);
}

TEST(ButtonTest, KeepsTheLeastWidth) {
    TextButton widget;
    QtButton button(widget);
    button.setTitle("Go");
    const int natural = widget.sizeHint().width();

    button.setTranslatesAutoresizingMask(false);
    button.activateWidthConstraint(natural + 10.0);

    EXPECT_EQ(widget.sizeHint().width(), natural + 10);
}

TEST(ButtonTest, IsPressedByReturnAndSpaceWhileItHasTheFocus) {
    TextButton widget;
    const QSignalSpy clicked(&widget, &QAbstractButton::clicked);

    QTest::keyClick(&widget, Qt::Key_Return);
    QTest::keyClick(&widget, Qt::Key_Enter);
    QTest::keyClick(&widget, Qt::Key_Space);

    EXPECT_EQ(clicked.count(), 3);
}

TEST(EditableFieldTest, GivesBackExactlyWhatItWasGiven) {
    CustomTextField widget;
    QtEditableField field(widget);

    for (const std::string& text : hostileTexts()) {
        field.setStringValue(text);
        EXPECT_EQ(field.stringValue(), text);
    }
}

TEST(EditableFieldTest, GivesWhatWasTyped) {
    CustomTextField widget;
    QtEditableField field(widget);
    field.setStringValue("ada");

    QTest::keyClicks(&widget, " l");

    EXPECT_EQ(field.stringValue(), "ada l");
}

TEST(EditableFieldTest, TellsEachEndOfEditing) {
    CustomTextField widget;
    QtEditableField field(widget);
    int ends = 0;
    field.setEditingEnded([&] { ++ends; });

    const auto focus = [&](QEvent::Type type, Qt::FocusReason reason) {
        QFocusEvent event(type, reason);
        QCoreApplication::sendEvent(&widget, &event);
    };

    QTest::keyClick(&widget, Qt::Key_Return);
    EXPECT_EQ(ends, 1);
    focus(QEvent::FocusIn, Qt::TabFocusReason);
    focus(QEvent::FocusOut, Qt::ActiveWindowFocusReason);
    focus(QEvent::FocusIn, Qt::ActiveWindowFocusReason);
    EXPECT_EQ(ends, 1);
    focus(QEvent::FocusOut, Qt::TabFocusReason);
    EXPECT_EQ(ends, 2);
}

TEST(EditableFieldTest, EndsNoEditingThatTheWindowsActivationBegan) {
    CustomTextField widget;
    QtEditableField field(widget);
    int ends = 0;
    field.setEditingEnded([&] { ++ends; });
    const auto passThrough = [&](const QString& typed) {
        QFocusEvent comes(QEvent::FocusIn, Qt::ActiveWindowFocusReason);
        QCoreApplication::sendEvent(&widget, &comes);
        QTest::keyClicks(&widget, typed);
        QFocusEvent leaves(QEvent::FocusOut, Qt::MouseFocusReason);
        QCoreApplication::sendEvent(&widget, &leaves);
    };

    passThrough("");
    EXPECT_EQ(ends, 0);
    passThrough("ada");
    EXPECT_EQ(ends, 1);
    passThrough("");
    EXPECT_EQ(ends, 1);
}

TEST(FieldTest, HasAFocusRingAroundItsOwnBounds) {
    CustomTextField plain;
    CustomSecureTextField secure;
    for (RoundedField* field :
         {static_cast<RoundedField*>(&plain), static_cast<RoundedField*>(&secure)}) {
        field->resize(200, 40);
        EXPECT_EQ(field->focusRingMaskBounds(), QRect(0, 0, 200, 40));
        QImage mask(200, 40, QImage::Format_RGB32);
        mask.fill(Qt::white);
        QPainter painter(&mask);
        painter.setPen(Qt::NoPen);
        painter.setBrush(Qt::black);
        field->drawFocusRingMask(painter);
        painter.end();
        EXPECT_EQ(mask.pixelColor(0, 0), Qt::white);
        EXPECT_EQ(mask.pixelColor(8, 0), Qt::black);
        EXPECT_EQ(mask.pixelColor(0, 8), Qt::black);
        EXPECT_EQ(mask.pixelColor(100, 20), Qt::black);
    }
}

TEST(LayerTest, IsThereOnlyWhenWanted) {
    QWidget widget;
    QtView view(widget);
    EXPECT_EQ(view.layer(), nullptr);

    view.setWantsLayer(true);
    EXPECT_NE(view.layer(), nullptr);
    view.setWantsLayer(false);
    EXPECT_EQ(view.layer(), nullptr);
}

TEST(LayerTest, PaintsADiscBeneathASquareView) {
    QWidget widget;
    widget.resize(40, 40);
    QtView view(widget);
    view.setWantsLayer(true);
    view.layer()->setBackgroundColor({0, 0, 0, 1});
    view.layer()->setCornerRadius(20);

    QImage picture(40, 40, QImage::Format_RGB32);
    picture.fill(Qt::white);
    widget.render(&picture, {}, {}, QWidget::DrawChildren);

    EXPECT_EQ(picture.pixelColor(20, 20), Qt::black);
    EXPECT_EQ(picture.pixelColor(1, 1), Qt::white);
}

TEST(LayerTest, ShakesAFieldAndLeavesItInItsPlace) {
    QWidget parent;
    QVBoxLayout layout(&parent);
    auto* widget = new CustomSecureTextField;
    layout.addWidget(widget);
    layout.activate();
    QtSecureField field(*widget);
    field.setWantsLayer(true);
    const QPoint rest = widget->pos();
    KeyFrameAnimation shake{"transform", {-10, 10}, true, 2, std::chrono::milliseconds(70)};
    field.layer()->addAnimation(shake);
    EXPECT_EQ(widget->x(), rest.x() - 10);
    const auto* animation = widget->findChild<QVariantAnimation*>();
    ASSERT_NE(animation, nullptr);
    EXPECT_TRUE(waitUntil([&] { return animation->state() == QAbstractAnimation::Stopped; }));
    EXPECT_EQ(widget->pos(), rest);
}

TEST(ConstraintTest, TakesItsDistanceOnlyWhileItWins) {
    ConstraintSpacer spacer;
    spacer.setDistance(16);
    spacer.setProperty("identifier", "Some");

    spacer.setPriority(layoutPriorityDefaultLow);
    EXPECT_EQ(spacer.maximumHeight(), 0);
    spacer.setPriority(layoutPriorityDefaultHigh);
    EXPECT_EQ(spacer.minimumHeight(), 16);
    EXPECT_EQ(spacer.identifier(), "Some");
}

}  // namespace
}  // namespace velunor
