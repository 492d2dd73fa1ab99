#include "platform/secret.h"

#include <gtest/gtest.h>

#include <utility>

namespace velunor::testing {
namespace {

TEST(SecretTest, HoldsWhatItWasGivenNulBytesIncluded) {
    const std::string text("a\0b", 3);
    const Secret secret{std::string_view(text)};
    EXPECT_EQ(secret.reveal(), text);
    EXPECT_EQ(secret.size(), 3U);
    EXPECT_FALSE(secret.empty());
}

TEST(SecretTest, ClearingLeavesNothingInTheStorage) {
    Secret secret("p4ss");
    const char* storage = secret.reveal().data();
    secret.clear();
    EXPECT_TRUE(secret.empty());
    EXPECT_EQ(secret.reveal(), "");
    // It keeps its storage, which is to hold nothing of the text.
    ASSERT_EQ(secret.reveal().data(), storage);
    EXPECT_EQ(std::string(storage, 4), std::string(4, '\0'));
}

TEST(SecretTest, MovedFromIsEmpty) {
    Secret first("p4ss");
    const Secret second = std::move(first);
    EXPECT_TRUE(first.empty());  // NOLINT(bugprone-use-after-move): the state is what is tested.
    EXPECT_EQ(second.reveal(), "p4ss");
}

TEST(SecretTest, AssignmentReplaces) {
    Secret secret("first");
    secret = Secret("second");
    EXPECT_EQ(secret.reveal(), "second");
}

TEST(SecretTest, AppendingGrowsOverManyStorages) {
    Secret secret;
    std::string expected;
    for (int count = 0; count < 1000; ++count) {
        secret.append("piece");
        expected += "piece";
    }
    EXPECT_EQ(secret.reveal(), expected);
}

TEST(SecretTest, AppendingNothingToNothingIsEmpty) {
    Secret secret;
    secret.append("");
    EXPECT_TRUE(secret.empty());
}

TEST(WipeTest, OverwritesBytes) {
    std::string bytes = "abcd";
    wipe(bytes.data(), 3);
    EXPECT_EQ(bytes, std::string("\0\0\0d", 4));
}

TEST(WipeTest, OverwritesTheSpareCapacityOfAText) {
    std::string text(100, 'x');
    text.resize(10);
    const char* storage = text.data();
    wipe(text);
    EXPECT_TRUE(text.empty());
    // NOLINTNEXTLINE(clang-analyzer-cplusplus.InnerPointer): the text keeps its storage.
    EXPECT_EQ(std::string(storage, 100), std::string(100, '\0'));
}

}  // namespace
}  // namespace velunor::testing
