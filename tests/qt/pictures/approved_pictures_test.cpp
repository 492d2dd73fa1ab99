#include "tests/qt/pictures/approved_pictures.h"

#include <gtest/gtest.h>

#include <QDir>
#include <QPainter>
#include <map>
#include <memory>
#include <ostream>
#include <string>

#include "tests/qt/support/offscreen_screen.h"

namespace velunor {

/// Shows a test's parameter by its name.
static void PrintTo(const ApprovedPicture& picture, std::ostream* stream) {
    *stream << picture.name;
}

namespace {

/// Some thirty pixels of a plain prompt: less than a short word that has moved.
constexpr double tolerance = 0.0002;

/// The pictures have a font and a screen of their own, wherever they are made.
class ApprovedPicturesTest : public testing::TestWithParam<ApprovedPicture> {
  protected:
    static void SetUpTestSuite() {
        prepareApprovedFont();
        application_ = std::make_unique<OffscreenApplication>();
        ready_ = application_->isReady() && useApprovedFont();
    }
    static void TearDownTestSuite() { application_.reset(); }
    void SetUp() override { ASSERT_TRUE(ready_); }

    static inline bool ready_ = false;

  private:
    static inline std::unique_ptr<OffscreenApplication> application_;
};

TEST_P(ApprovedPicturesTest, LooksAsApproved) {
    const QString file = QLatin1String(GetParam().name) + ".png";
    const QImage approved(QDir(APPROVED_DIRECTORY).filePath(file));
    ASSERT_FALSE(approved.isNull()) << "there is no approved " << file.toStdString();
    const QImage now = renderNow(GetParam());
    ASSERT_FALSE(now.isNull());

    const double share = differingShare(approved, now);

    if (share > tolerance) {
        const QDir directory(NEW_PICTURES_DIRECTORY);
        const QString path = directory.filePath(file);
        ASSERT_TRUE(directory.mkpath(".") && now.save(path));
        ADD_FAILURE() << share * 100 << " % of the pixels differ. The new picture is "
                      << path.toStdString() << "; ./dev shots --approve approves it.";
    }
}

/// How many pixels a picture has of each colour.
std::map<QRgb, int> coloursOf(const QImage& image) {
    std::map<QRgb, int> counts;
    for (int y = 0; y < image.height(); ++y) {
        for (int x = 0; x < image.width(); ++x) {
            ++counts[image.pixel(x, y)];
        }
    }
    return counts;
}

TEST_P(ApprovedPicturesTest, HasTheVeryColoursThatWereApproved) {
    // More than the edges of letters have of any mixed colour.
    constexpr int plenty = 100;
    const QImage approved(
        QDir(APPROVED_DIRECTORY).filePath(QLatin1String(GetParam().name) + ".png"));
    const std::map<QRgb, int> now = coloursOf(renderNow(GetParam()));
    for (const auto& [colour, count] : coloursOf(approved.convertToFormat(QImage::Format_ARGB32))) {
        const auto found = now.find(colour);
        EXPECT_TRUE(count < plenty || (found != now.end() && found->second > plenty / 2))
            << QColor(colour).name().toStdString();
    }
}

TEST_P(ApprovedPicturesTest, NoticesAWordThatHasMoved) {
    const QImage now = renderNow(GetParam());
    // The first word of the title, a point lower.
    const QRect word(100, 60, 50, 30);
    QImage moved = now;
    QPainter(&moved).drawImage(word.translated(0, 1), now, word);

    EXPECT_GT(differingShare(now, moved), tolerance);
    EXPECT_EQ(differingShare(now, now), 0);
    EXPECT_EQ(differingShare(now, now.copy(0, 0, now.width(), now.height() - 1)), 1);
}

INSTANTIATE_TEST_SUITE_P(Pictures, ApprovedPicturesTest, testing::ValuesIn(approvedPictures()),
                         [](const auto& each) { return std::string(each.param.name); });

}  // namespace
}  // namespace velunor
