// What passes through the interfaces: texts, errors, and who lets go of what.

#include <gtest/gtest.h>

#include <chrono>
#include <optional>
#include <string_view>

#include "platform/controls.h"
#include "platform/directory_service.h"
#include "platform/graphics.h"
#include "platform/owned.h"

namespace velunor::testing {
namespace {

TEST(DirectoryErrorTest, TellsItselfAsALineOfTheLog) {
    const DirectoryError error{"PAM", 7, "Authentication failure"};
    EXPECT_EQ(error.description(), "Error Domain=PAM Code=7 \"Authentication failure\"");
}

TEST(DirectoryAttributeTest, IsAStandardOneOfTheDirectory) {
    for (const std::string_view attribute :
         {attributeJPEGPhoto, attributePicture, attributeSearchPath}) {
        EXPECT_TRUE(attribute.starts_with("dsAttrTypeStandard:")) << attribute;
    }
}

TEST(AttributedStringTest, PlainTextIsThatOfAllRuns) {
    const AttributedString styled{
        {"Restart in ", std::nullopt, 0}, {"5", std::nullopt, 1}, {"", std::nullopt, 0}};
    EXPECT_EQ(plainText(styled), "Restart in 5");
    EXPECT_EQ(plainText({}), "");
}

TEST(GraphicsTest, NothingIsSaidOfStartsAtTheOriginEmptyAndOpaque) {
    EXPECT_EQ(Rect(), (Rect{.origin = {.x = 0, .y = 0}, .size = {.width = 0, .height = 0}}));
    EXPECT_EQ(Color(), (Color{.red = 0, .green = 0, .blue = 0, .alpha = 1}));
    EXPECT_EQ(TextRun().styledLength, 0U);
    EXPECT_EQ(TextAttributes().pointSize, 0);
}

TEST(KeyFrameAnimationTest, MovesNothingUnlessItIsTold) {
    const KeyFrameAnimation animation;
    EXPECT_FALSE(animation.autoreverses);
    EXPECT_EQ(animation.repeatCount, 0);
    EXPECT_EQ(animation.duration, std::chrono::milliseconds::zero());
}

struct Resource {
    int releases = 0;
};

int releaseResource(Resource* resource) {
    return ++resource->releases;
}

TEST(OwnedTest, ReleasesWhatItHoldsOnceAndNothingWhereItHoldsNone) {
    Resource first;
    Resource second;
    {
        Owned<Resource, releaseResource> owner(&first);
        owner.reset(&second);
        EXPECT_EQ(first.releases, 1);
        EXPECT_EQ(second.releases, 0);
        const Owned<Resource, releaseResource> nobody;
    }
    EXPECT_EQ(first.releases, 1);
    EXPECT_EQ(second.releases, 1);
}

}  // namespace
}  // namespace velunor::testing
