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
class ApprovedLookTest : public testing::Test {
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

class ApprovedPicturesTest : public ApprovedLookTest,
                             public testing::WithParamInterface<ApprovedPicture> {};

/// The approved picture of this name.
QImage approvedAs(const char* name) {
    return QImage(QDir(APPROVED_DIRECTORY).filePath(QLatin1String(name) + ".png"));
}

/// Keeps a picture that is not as approved where somebody can look at it; what is to be told.
std::string kept(const QImage& picture, const char* name) {
    const QDir directory(NEW_PICTURES_DIRECTORY);
    const QString path = directory.filePath(QLatin1String(name) + ".png");
    EXPECT_TRUE(directory.mkpath(".") && picture.save(path));
    return "The new picture is " + path.toStdString() + "; ./dev shots --approve approves it.";
}

TEST_P(ApprovedPicturesTest, LooksAsApproved) {
    const QImage approved = approvedAs(GetParam().name);
    ASSERT_FALSE(approved.isNull()) << "there is no approved " << GetParam().name;
    const QImage now = renderNow(GetParam());
    ASSERT_FALSE(now.isNull());

    const double share = differingShare(approved, now);

    EXPECT_LE(share, tolerance) << kept(now, GetParam().name);
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
    const QImage approved = approvedAs(GetParam().name);
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

TEST_F(ApprovedLookTest, HasTheVeryColoursThatWereApprovedInEveryTheme) {
    const QImage now = coloursNow();
    EXPECT_EQ(now, approvedAs(coloursName).convertToFormat(now.format())) << kept(now, coloursName);
}

INSTANTIATE_TEST_SUITE_P(Pictures, ApprovedPicturesTest, testing::ValuesIn(approvedPictures()),
                         [](const auto& each) { return std::string(each.param.name); });

}  // namespace
}  // namespace velunor
