#include "platform/qt/widgets/picture_view.h"

#include <QPicture>
#include <QTemporaryDir>

#include "platform/qt/desktop/appearance.h"
#include "tests/qt/support/widget_events.h"
#include "tests/qt/support/widget_test.h"

namespace velunor {
namespace {

constexpr QColor red(0xC0, 0x10, 0x10);

/// A vector picture of which the left half and the upper quarter are red.
class PictureViewTest : public testing::Test {
  protected:
    PictureViewTest() : file(directory.filePath("half.picture")) {
        QPicture picture;
        QPainter painter(&picture);
        painter.fillRect(QRect(0, 0, 32, 64), red);
        painter.fillRect(QRect(0, 0, 64, 16), red);
        painter.end();
        EXPECT_TRUE(picture.save(file));
    }
    /// The picture on white ground, drawn into `area`.
    [[nodiscard]] QImage drawnInto(const QRect& area, const QString& path, const QColor& tint = {},
                                   int scale = 1) const {
        QImage image(QSize(200, 100) * scale, QImage::Format_RGB32);
        image.setDevicePixelRatio(scale);
        image.fill(Qt::white);
        QPainter painter(&image);
        drawVectorPicture(painter, area, path, tint);
        painter.end();
        return image;
    }
    /// What the picture should be, on white ground as well.
    [[nodiscard]] static QImage halves(const QRect& area, const QColor& colour) {
        QImage image(200, 100, QImage::Format_RGB32);
        image.fill(Qt::white);
        QPainter painter(&image);
        painter.fillRect(QRect(area.x(), area.y(), area.width() / 2, area.height()), colour);
        painter.fillRect(QRect(area.x(), area.y(), area.width(), area.height() / 4), colour);
        painter.end();
        return image;
    }

    const QTemporaryDir directory;
    const QString file;
};

TEST_F(PictureViewTest, DrawingFillsItsArea) {
    for (const QRect& area : {QRect(10, 20, 64, 64), QRect(4, 8, 160, 80)}) {
        EXPECT_EQ(drawnInto(area, file), halves(area, red));
        EXPECT_EQ(drawnInto(area, file, Qt::blue), halves(area, Qt::blue));
    }
    const QRect area(10, 20, 64, 64);
    EXPECT_EQ(drawnInto(area, directory.filePath("none")), halves({}, red));
}

TEST_F(PictureViewTest, DrawingIsSharpOnAScaledScreen) {
    const QRect area(10, 20, 32, 64);
    const QImage scaled = drawnInto(area, file, {}, 2);
    QImage expected = halves(area, red).scaled(400, 200);
    expected.setDevicePixelRatio(2);
    EXPECT_EQ(scaled, expected);
    EXPECT_EQ(drawnInto(area, file, red, 2), expected);
    // The half of an odd width ends between two points.
    const QImage odd = drawnInto(QRect(10, 20, 33, 64), file, {}, 2);
    EXPECT_EQ(odd.pixelColor(20 + 32, 100), red);
    EXPECT_EQ(odd.pixelColor(20 + 33, 100), QColor(Qt::white));
}

TEST_F(PictureViewTest, PixmapIsTransparentWhereNothingIsDrawn) {
    const QImage image = vectorPicture(file, 32).toImage();
    ASSERT_EQ(image.size(), QSize(32, 32));
    EXPECT_EQ(image.pixelColor(8, 20), red);
    EXPECT_EQ(image.pixelColor(24, 20).alpha(), 0);
}

TEST_F(PictureViewTest, ShowsTheDrawingUntilAnImageIsSet) {
    PictureView view;
    view.setProperty("source", file);
    EXPECT_EQ(view.sizeHint(), QSize(16, 16));
    view.setProperty("side", 32);
    EXPECT_EQ(view.sizeHint(), QSize(32, 32));
    EXPECT_EQ(view.sizePolicy(), QSizePolicy(QSizePolicy::Fixed, QSizePolicy::Fixed));
    view.resize(32, 32);
    EXPECT_EQ(colourAt(view, {8, 20}), red);
    QImage image(16, 16, QImage::Format_RGB32);
    image.fill(Qt::green);
    view.setImage(image);
    EXPECT_EQ(colourAt(view, {8, 20}), QColor(Qt::green));
    view.setImage({});
    EXPECT_EQ(colourAt(view, {8, 20}), red);
}

TEST_F(PictureViewTest, NoticesPictureHasItsColourAndGrowsWithTheText) {
    PictureView view;
    view.setProperty("source", file);
    view.setProperty("noticeTint", true);
    view.resize(32, 32);
    EXPECT_EQ(colourAt(view, {8, 20}), currentTheme().noticeText);
    QFont font = view.font();
    font.setPixelSize(60);
    view.setFont(font);
    const int grown = qRound(0.9 * view.fontMetrics().height());
    ASSERT_GT(grown, 16);
    EXPECT_EQ(view.sizeHint(), QSize(grown, grown));
    view.setProperty("side", grown + 20);
    EXPECT_EQ(view.sizeHint(), QSize(grown + 20, grown + 20));
    view.setProperty("side", 16);
    view.setProperty("noticeTint", false);
    EXPECT_EQ(view.sizeHint(), QSize(16, 16));
}

TEST_F(PictureViewTest, WideImageMayHaveMoreWidthAndKeepsItsProportions) {
    PictureView view;
    view.setProperty("side", 20);
    QImage image(90, 30, QImage::Format_RGB32);
    image.fill(red);
    view.setImage(image);
    EXPECT_EQ(view.sizeHint(), QSize(20, 20));
    view.setProperty("widest", 50);
    EXPECT_EQ(view.sizeHint(), QSize(50, 20));
    view.setProperty("widest", 70);
    EXPECT_EQ(view.sizeHint(), QSize(60, 20));
    view.setImage(image.copy(0, 0, 10, 30));
    EXPECT_EQ(view.sizeHint(), QSize(20, 20));

    const auto place = [&] { return inkOn(view.grab().toImage(), colourAt(view, {0, 0})); };
    view.setImage(image);
    view.resize(60, 40);
    EXPECT_EQ(place(), QRect(0, 10, 60, 20));
    view.setImage(image.scaled(30, 90));
    view.resize(60, 30);
    EXPECT_EQ(place(), QRect(25, 0, 10, 30));
}

TEST_F(PictureViewTest, IsLaidOutAndPaintedAnewWithAnImage) {
    QWidget window;
    auto* view = new PictureView(&window);
    window.show();
    Events paints(*view, QEvent::Paint);
    paints.take();
    view->setImage(QImage(16, 16, QImage::Format_RGB32));
    EXPECT_GT(paints.take(), 0);
}

}  // namespace
}  // namespace velunor
