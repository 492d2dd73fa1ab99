// Where controls are in a window, and what they pass on to their widgets.

#include <QVBoxLayout>

#include "platform/qt/application/image_reader.h"
#include "platform/qt/controls/control_adapters.h"
#include "tests/qt/support/widget_test.h"

namespace velunor {
namespace {

using QtView = WidgetControl<View>;

/// A card in a window that is hidden: a panel that holds a box, and another box below the panel.
class ControlFrameTest : public testing::Test {
  protected:
    ControlFrameTest() {
        auto* card = new QWidget(&window);
        card->setGeometry(0, 0, 300, 200);
        auto* layout = new QVBoxLayout(card);
        layout->setContentsMargins(10, 20, 30, 40);
        layout->setSpacing(5);
        layout->addWidget(panel = new QWidget);
        layout->addWidget(below = new QWidget);
        auto* inner = new QVBoxLayout(panel);
        inner->setContentsMargins(1, 2, 3, 4);
        inner->addWidget(box = new QWidget);
        box->setFixedHeight(50);
        panel->setSizePolicy(QSizePolicy::Preferred, QSizePolicy::Fixed);
        window.resize(300, 210);
        window.show();
        QCoreApplication::processEvents();
        window.hide();
    }

    QWidget window;
    QWidget* panel = nullptr;
    QWidget* box = nullptr;
    QWidget* below = nullptr;
};

TEST_F(ControlFrameTest, IsCountedFromTheWindowsLowerEdge) {
    EXPECT_EQ(QtView(*box).frame(), (Rect{{11, 138}, {256, 50}}));
    EXPECT_EQ(QtView(*below).frame(), (Rect{{10, 50}, {260, 79}}));
}

TEST_F(ControlFrameTest, KnowsAChangeOfWhatIsInsideAtOnce) {
    panel->setFixedHeight(76);
    EXPECT_EQ(QtView(*below).frame(), (Rect{{10, 50}, {260, 59}}));
    QtView(*panel).setHidden(true);
    EXPECT_TRUE(panel->isHidden());
    EXPECT_EQ(QtView(*below).frame(), (Rect{{10, 50}, {260, 140}}));
    QtView(*panel).setHidden(false);
    EXPECT_FALSE(panel->isHidden());
}

TEST_F(ControlFrameTest, LayoutsThatNobodySeesStayAsTheyAre) {
    panel->hide();
    panel->layout()->setContentsMargins(9, 9, 9, 9);
    settleLayouts(window);
    EXPECT_EQ(box->pos(), QPoint(1, 2));
    panel->show();
    settleLayouts(window);
    EXPECT_EQ(box->pos(), QPoint(9, 9));
}

TEST_F(ControlFrameTest, ShownWindowIsLaidOutWhenItIsAskedTo) {
    window.show();
    QCoreApplication::processEvents();
    panel->setFixedHeight(76);
    settleLayouts(window);
    EXPECT_EQ(QtView(*below).frame(), (Rect{{10, 50}, {260, 59}}));
}

TEST(ControlTest, ButtonsLeastWidthIsRoundedUp) {
    TextButton widget;
    QtButton(widget).activateWidthConstraint(399.2);
    EXPECT_EQ(widget.sizeHint().width(), 400);
}

TEST(ControlTest, PictureIsShownOnceItIsSet) {
    PictureView widget;
    widget.resize(20, 10);
    QImage image(20, 10, QImage::Format_RGB32);
    image.fill(Qt::red);
    QtImageView(widget).setImage(std::make_shared<QtImage>(image));
    EXPECT_EQ(widget.grab().toImage().pixelColor(10, 5), QColor(Qt::red));
}

TEST(ControlTest, LastOneWhoAsksIsToldOfTheEndOfEditing) {
    CustomTextField widget;
    QtEditableField field(widget);
    int former = 0;
    int told = 0;
    field.setEditingEnded([&] { ++former; });
    field.setEditingEnded([&] { ++told; });
    emit widget.editingEnded();
    EXPECT_EQ(former, 0);
    EXPECT_EQ(told, 1);
}

}  // namespace
}  // namespace velunor
