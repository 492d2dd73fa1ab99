#include <sys/stat.h>

#include <QBuffer>
#include <QFile>
#include <QImageReader>
#include <QTemporaryDir>
#include <QtEndian>
#include <cmath>

#include "platform/qt/application/image_reader.h"
#include "tests/qt/support/widget_test.h"

namespace velunor {
namespace {

QByteArray encoded(const QImage& image, const char* format) {
    QByteArray bytes;
    QBuffer buffer(&bytes);
    buffer.open(QIODevice::WriteOnly);
    EXPECT_TRUE(image.save(&buffer, format));
    return bytes;
}

QImage sample(int width = 30, int height = 20) {
    QImage image(width, height, QImage::Format_RGB32);
    image.fill(Qt::red);
    return image;
}

ImagePointer read(const QByteArray& bytes) {
    return QtImageReader().imageFromData(
        std::as_bytes(std::span(bytes.constData(), static_cast<std::size_t>(bytes.size()))));
}

TEST(ImageTest, ReadsTheBitmapFormats) {
    for (const char* format : {"PNG", "JPEG", "BMP"}) {
        const ImagePointer image = read(encoded(sample(), format));
        ASSERT_NE(image, nullptr) << format;
        EXPECT_EQ(image->size(), (Size{30, 20})) << format;
    }
}

TEST(ImageTest, ReadsAGif) {
    const QByteArray gif = QByteArray::fromHex(
        "47494638396101000100800000ff0000ffffff21f90400000000002c00000000010001000002024401003b");

    const ImagePointer image = read(gif);

    ASSERT_NE(image, nullptr);
    EXPECT_EQ(image->size(), (Size{1, 1}));
}

TEST(ImageTest, ReadsAGifOfTheOlderKind) {
    const ImagePointer image = read(QByteArray::fromHex(
        "47494638376101000100800000ff0000ffffff2c00000000010001000002024401003b"));

    ASSERT_NE(image, nullptr);
    EXPECT_EQ(image->size(), (Size{1, 1}));
}

TEST(ImageTest, IsUprightAsTheCameraWasHeld) {
    QByteArray photo = encoded(sample(30, 20), "JPEG");
    // What a camera that was turned by a quarter writes behind the picture's first two bytes.
    photo.insert(2, QByteArray::fromHex("ffe10022457869660000"
                                        "49492a0008000000"
                                        "0100120103000100000006000000"
                                        "00000000"));

    const ImagePointer image = read(photo);

    ASSERT_NE(image, nullptr);
    EXPECT_EQ(image->size(), (Size{20, 30}));
}

TEST(ImageTest, GoesByTheContentAndNotByTheName) {
    const QTemporaryDir directory;
    const QString path = directory.filePath("logo.jpg");
    ASSERT_TRUE(sample().save(path, "PNG"));

    EXPECT_NE(QtImageReader().imageFromFile(path.toStdString()), nullptr);
}

TEST(ImageTest, RefusesWhatIsNotAnImage) {
    EXPECT_EQ(read(""), nullptr);
    EXPECT_EQ(read("no image at all"), nullptr);
}

TEST(ImageTest, RefusesVectorDrawings) {
    EXPECT_EQ(read(R"(<svg xmlns="http://www.w3.org/2000/svg" width="9" height="9"/>)"), nullptr);
}

TEST(ImageTest, AsksOnlyTheDecoderThatTheContentNames) {
    // Another decoder would find its picture behind the first line, also where there is none for
    // what the line says.
    for (const char* start : {"BM", "RIFF"}) {
        EXPECT_EQ(read(QByteArray(start) + "\n#define a_width 8\n#define a_height 1\n"
                                           "static char a_bits[] = {0x01};\n"),
                  nullptr)
            << start;
    }
}

TEST(ImageTest, LimitsTheMemoryToTwoOfTheLargestPictures) {
    QImageReader::setAllocationLimit(0);
    const QtImageReader reader;
    EXPECT_EQ(QImageReader::allocationLimit(),
              2 * 4 * largestImageSide * (largestImageSide / 1024) / 1024);
}

TEST(ImageTest, RefusesATruncatedPicture) {
    const QByteArray whole = encoded(sample(300, 300), "PNG");

    EXPECT_EQ(read(whole.left(40)), nullptr);
    EXPECT_EQ(read(whole.left(10)), nullptr);
}

TEST(ImageTest, RefusesAPictureThatClaimsToBeHuge) {
    // The header alone says 60000 × 60000; nothing of that size may be allocated.
    QByteArray bomb = encoded(sample(), "PNG");
    qToBigEndian<quint32>(60000, bomb.data() + 16);
    qToBigEndian<quint32>(60000, bomb.data() + 20);

    EXPECT_EQ(read(bomb), nullptr);
}

TEST(ImageTest, RefusesAGifWhoseScreenIsLargerThanItsPicture) {
    // A picture of 5 × 5 on a screen of 5 × 11952.
    QByteArray gif = QByteArray::fromHex(
        "4749463839610500b02ef0000000800000000021f9040000000000"
        "2c0000000005000500000204848fa958003b");

    EXPECT_EQ(read(gif), nullptr);
    // As high as its picture it is one.
    qToLittleEndian<quint16>(5, gif.data() + 8);
    ASSERT_NE(read(gif), nullptr);
}

TEST(ImageTest, TakesTheLargestSideAndNotOneMore) {
    EXPECT_NE(read(encoded(sample(largestImageSide, 1), "PNG")), nullptr);
    EXPECT_EQ(read(encoded(sample(largestImageSide + 1, 1), "PNG")), nullptr);
}

TEST(ImageTest, RefusesAPipeWithoutWaitingForIt) {
    const QTemporaryDir directory;
    const std::string path = directory.filePath("pipe.png").toStdString();
    ASSERT_EQ(mkfifo(path.c_str(), 0600), 0);

    EXPECT_EQ(QtImageReader().imageFromFile(path), nullptr);
}

TEST(ImageTest, RefusesADirectoryAndAMissingFile) {
    const QTemporaryDir directory;

    EXPECT_EQ(QtImageReader().imageFromFile(directory.path().toStdString()), nullptr);
    EXPECT_EQ(QtImageReader().imageFromFile(directory.filePath("none").toStdString()), nullptr);
}

TEST(ImageTest, ClipsToAnEllipseOfTheSameSize) {
    const QtImageReader reader;

    const ImagePointer clipped =
        reader.clippedToRoundedRectangle(read(encoded(sample(40, 20), "PNG")), 20, 10);

    ASSERT_NE(clipped, nullptr);
    EXPECT_EQ(clipped->size(), (Size{40, 20}));
    const QImage bitmap = bitmapOf(clipped);
    EXPECT_EQ(bitmap.pixelColor(20, 10), Qt::red);
    EXPECT_EQ(bitmap.pixelColor(0, 0).alpha(), 0);
    EXPECT_EQ(bitmap.pixelColor(39, 19).alpha(), 0);
}

TEST(ImageTest, ClipsWithSoftEdgesAndNothingAround) {
    const QImage clipped = bitmapOf(
        QtImageReader().clippedToRoundedRectangle(read(encoded(sample(40, 20), "PNG")), 20, 10));

    double covered = 0;
    bool soft = false;
    for (int y = 0; y < 20; ++y) {
        for (int x = 0; x < 40; ++x) {
            const int alpha = clipped.pixelColor(x, y).alpha();
            covered += alpha / 255.0;
            soft = soft || (alpha > 20 && alpha < 235);
        }
    }
    EXPECT_NEAR(covered, M_PI * 20 * 10, 6);
    EXPECT_TRUE(soft);
}

TEST(ImageTest, ClipsAPictureForAScaledScreenInItsPoints) {
    QImage fine = sample(80, 40);
    fine.setDevicePixelRatio(2);
    const QtImageReader reader;

    const ImagePointer clipped =
        reader.clippedToRoundedRectangle(std::make_shared<QtImage>(fine), 20, 10);

    ASSERT_NE(clipped, nullptr);
    EXPECT_EQ(clipped->size(), (Size{40, 20}));
    EXPECT_EQ(bitmapOf(clipped).size(), QSize(80, 40));
    EXPECT_EQ(bitmapOf(clipped).pixelColor(40, 2), Qt::red);
    EXPECT_EQ(bitmapOf(clipped).pixelColor(0, 0).alpha(), 0);
}

TEST(ImageTest, ClipsNothingToNothing) {
    EXPECT_EQ(QtImageReader().clippedToRoundedRectangle(nullptr, 1, 1), nullptr);
}

}  // namespace
}  // namespace velunor
