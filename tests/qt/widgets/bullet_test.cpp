#include <QImage>

#include "platform/qt/widgets/text_label.h"
#include "tests/qt/support/widget_test.h"

namespace velunor {
namespace {

/// The line of an update's name, drawn black on white.
class BulletTest : public testing::TestWithParam<Qt::LayoutDirection> {
  protected:
    void draw(const QString& name, int width) {
        TextLabel label;
        label.setLayoutDirection(GetParam());
        label.setTextRole("update");
        label.setText({"\u2022  " + name, {}});
        label.resize(width, label.heightForWidth(width));
        image_ = QImage(label.size(), QImage::Format_Grayscale8);
        image_.fill(Qt::white);
        label.render(&image_, QPoint(), QRegion(), QWidget::DrawChildren);
    }
    /// The smallest rectangle around everything dark in `area`, whose x counts from the line's
    /// beginning.
    [[nodiscard]] QRect inkIn(const QRect& area) const {
        QRect ink;
        for (int y = area.top(); y <= area.bottom(); ++y) {
            for (int x = area.left(); x <= area.right(); ++x) {
                const int place = GetParam() == Qt::RightToLeft ? image_.width() - 1 - x : x;
                if (qGray(image_.pixel(place, y)) < 128) {
                    ink |= QRect(x, y, 1, 1);
                }
            }
        }
        return ink;
    }
    [[nodiscard]] QRect all() const { return image_.rect(); }
    /// What stands alone at the line's beginning: up to the first gap of three points.
    [[nodiscard]] QRect firstSign() const {
        QRect sign;
        for (int x = 0; x < image_.width() && (sign.isEmpty() || x <= sign.right() + 3); ++x) {
            sign |= inkIn(QRect(x, 0, 1, image_.height()));
        }
        return sign;
    }
    /// Of what is in `area`, the letter is at the left of its dots whichever way the line runs.
    void expectLetterBeforeDots(const QRect& area) const {
        const QRect name = inkIn(area);
        const int third = name.width() / 3;
        const int left = GetParam() == Qt::LeftToRight ? name.left() : name.right() - third;
        EXPECT_EQ(inkIn(QRect(left, area.top(), third, area.height())).height(), name.height());
    }

  private:
    QImage image_;
};

TEST_P(BulletTest, StandsAtTheBeginningOfTheLineBeforeANameOfAnyScript) {
    for (const char* name : {"Update 12.9", "\u062A\u062D\u062F\u064A\u062B"}) {
        draw(QString::fromUtf8(name), 400);
        const QRect bullet = firstSign();
        ASSERT_FALSE(bullet.isEmpty());
        EXPECT_LE(bullet.left(), 4) << name;
        EXPECT_LE(bullet.height(), inkIn(all()).height() * 2 / 3) << name;
        EXPECT_LE(bullet.width(), bullet.height() + 1) << name;
    }
}

TEST_P(BulletTest, LeavesTheNamesOwnOrderAlone) {
    draw("M....", 400);
    expectLetterBeforeDots(all().adjusted(firstSign().right() + 1, 0, 0, 0));
    draw("i\nM....", 400);
    expectLetterBeforeDots(all().adjusted(0, all().height() / 2, 0, 0));
}

TEST_P(BulletTest, HasTheLinesOfALongNameHangBesideIt) {
    draw("MM MM MM MM MM MM MM MM MM MM MM MM", 150);
    const QRect bullet = firstSign();
    const int gap = bullet.right() + 1;
    const QRect name = inkIn(all().adjusted(gap, 0, 0, 0));
    const int line = bullet.center().y() * 2;
    ASSERT_GE(all().height(), 2 * line);
    // Nothing is below the bullet.
    EXPECT_EQ(inkIn(QRect(0, 0, name.left(), all().height())), bullet);
    // The first and the last line begin at the same place.
    const QRect first = inkIn(QRect(gap, 0, all().width() - gap, line));
    const QRect last = inkIn(QRect(gap, all().height() - line, all().width() - gap, line));
    EXPECT_NEAR(first.left(), last.left(), 1);
    EXPECT_GT(first.left(), gap + 2);
}

INSTANTIATE_TEST_SUITE_P(Directions, BulletTest, testing::Values(Qt::LeftToRight, Qt::RightToLeft),
                         [](const auto& each) {
                             return each.param == Qt::RightToLeft ? "RightToLeft" : "LeftToRight";
                         });

}  // namespace
}  // namespace velunor
