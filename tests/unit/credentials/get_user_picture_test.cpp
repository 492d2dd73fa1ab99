#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "credentials/os_update_util.h"
#include "tests/support/doubles/fake_directory.h"
#include "tests/support/doubles/recording_log.h"
#include "tests/unit/credentials/scripted_machine.h"

namespace velunor::testing {

namespace {

using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::Not;

using Texts = std::vector<std::string>;
using ByteStrings = std::vector<std::vector<std::byte>>;

constexpr const char* photoKey = "dsAttrTypeStandard:JPEGPhoto";
constexpr const char* pictureKey = "dsAttrTypeStandard:Picture";

class GetUserPicture : public ::testing::Test {
  protected:
    GetUserPicture() {
        images.datas = {{bytesOf("photo"), photo}, {bytesOf("second photo"), otherPicture}};
        images.files = {{"/pictures/ada.png", picture}, {"/pictures/second.png", otherPicture}};
    }

    void giveRecord(RecordScript record) {
        directory.localNodes = NodeScript{{}, {}, std::vector{std::move(record)}};
    }

    ImagePointer ask() { return OSUpdateUtil::getUserPicture("ada", directory, images, log); }

    const ImagePointer photo = imageOfSize(10, 10);
    const ImagePointer picture = imageOfSize(20, 20);
    const ImagePointer otherPicture = imageOfSize(30, 30);
    FakeDirectory directory;
    ScriptedImageReader images;
    RecordingLog log;
};

TEST_F(GetUserPicture, AsksTheLocalNodesForOneRecordOfThatName) {
    giveRecord({{photoKey, ByteStrings{bytesOf("photo")}}});
    EXPECT_EQ(ask(), photo);
    EXPECT_THAT(directory.calls,
                ElementsAre("session", "open type " + std::to_string(0x2200), "users local ada 1",
                            "values dsAttrTypeStandard:JPEGPhoto"));
    EXPECT_THAT(log.lines(), IsEmpty());
}

TEST_F(GetUserPicture, IsThePhotoEvenWhenThereIsAPicturePath) {
    giveRecord(
        {{photoKey, ByteStrings{bytesOf("photo")}}, {pictureKey, Texts{"/pictures/ada.png"}}});
    EXPECT_EQ(ask(), photo);
}

TEST_F(GetUserPicture, LacksThePhotoAttributeSoThePicturePathIsNotConsulted) {
    giveRecord({{pictureKey, Texts{"/pictures/ada.png"}}});
    EXPECT_EQ(ask(), nullptr);
    EXPECT_THAT(log.lines(), ElementsAre("Error: " + noSuchAttribute().description()));
    EXPECT_THAT(directory.calls, Not(Contains("values dsAttrTypeStandard:Picture")));
}

TEST_F(GetUserPicture, HasAnEmptyPhotoListSoItIsTheImageAtThePicturePath) {
    giveRecord({{photoKey, ByteStrings()}, {pictureKey, Texts{"/pictures/ada.png"}}});
    EXPECT_EQ(ask(), picture);
    EXPECT_THAT(log.lines(), IsEmpty());
}

TEST_F(GetUserPicture, HasTextsForAPhotoSoItIsTheImageAtThePicturePath) {
    giveRecord({{photoKey, Texts{"photo"}}, {pictureKey, Texts{"/pictures/ada.png"}}});
    EXPECT_EQ(ask(), picture);
}

TEST_F(GetUserPicture, HasAnUnreadablePhotoSoThereIsNoneAndThePathIsNotConsulted) {
    giveRecord({{photoKey, ByteStrings{bytesOf("not an image")}},
                {pictureKey, Texts{"/pictures/ada.png"}}});
    EXPECT_EQ(ask(), nullptr);
    EXPECT_THAT(log.lines(), IsEmpty());
    EXPECT_THAT(directory.calls, Not(Contains("values dsAttrTypeStandard:Picture")));
}

TEST_F(GetUserPicture, UsesTheFirstPhotoOnly) {
    giveRecord({{photoKey, ByteStrings{bytesOf("not an image"), bytesOf("second photo")}}});
    EXPECT_EQ(ask(), nullptr);
}

TEST_F(GetUserPicture, UsesTheFirstPathOnly) {
    giveRecord({{photoKey, ByteStrings()},
                {pictureKey, Texts{"/pictures/missing.png", "/pictures/second.png"}}});
    EXPECT_EQ(ask(), nullptr);
    EXPECT_THAT(log.lines(), IsEmpty());
}

TEST_F(GetUserPicture, IsNoneWhenThePicturePathCannotBeAskedFor) {
    giveRecord({{photoKey, ByteStrings()}});
    EXPECT_EQ(ask(), nullptr);
    EXPECT_THAT(log.lines(), ElementsAre("Error: " + noSuchAttribute().description()));
}

TEST_F(GetUserPicture, IsNoneSilentlyWhenThereIsNoPath) {
    giveRecord({{photoKey, ByteStrings()}, {pictureKey, Texts()}});
    EXPECT_EQ(ask(), nullptr);
    EXPECT_THAT(log.lines(), IsEmpty());
}

TEST_F(GetUserPicture, IsNoneSilentlyWhenThePathIsABytestring) {
    giveRecord(
        {{photoKey, ByteStrings()}, {pictureKey, ByteStrings{bytesOf("/pictures/ada.png")}}});
    EXPECT_EQ(ask(), nullptr);
    EXPECT_THAT(log.lines(), IsEmpty());
}

TEST_F(GetUserPicture, IsNoneSilentlyForAnUnknownAccount) {
    directory.localNodes.emplace();
    EXPECT_EQ(ask(), nullptr);
    EXPECT_THAT(log.lines(), IsEmpty());
}

TEST_F(GetUserPicture, UsesTheFirstRecordOnly) {
    directory.localNodes =
        NodeScript{{},
                   {},
                   std::vector<RecordScript>{{{photoKey, ByteStrings{bytesOf("photo")}}},
                                             {{photoKey, ByteStrings{bytesOf("second photo")}}}}};
    EXPECT_EQ(ask(), photo);
}

TEST_F(GetUserPicture, IsNoneWithAnErrorLineWhenTheLocalNodesDoNotOpen) {
    EXPECT_EQ(ask(), nullptr);
    EXPECT_THAT(log.lines(), ElementsAre("Error: " + noSuchNode().description()));
}

TEST_F(GetUserPicture, IsNoneWithAnErrorLineWhenTheQueryFails) {
    const DirectoryError failure{"test.directory", 3000, "Server went away"};
    directory.localNodes = NodeScript{{}, {}, failure};
    EXPECT_EQ(ask(), nullptr);
    EXPECT_THAT(log.lines(),
                ElementsAre("Error: Error Domain=test.directory Code=3000 \"Server went away\""));
}

TEST_F(GetUserPicture, IsNoneWithOneErrorLineWithoutADirectorySession) {
    directory.hasSession = false;
    EXPECT_EQ(ask(), nullptr);
    EXPECT_THAT(log.lines(), ElementsAre(::testing::StartsWith("Error: ")));
}

TEST_F(GetUserPicture, LeavesNoSessionOrNodeOpen) {
    giveRecord({{photoKey, ByteStrings{bytesOf("photo")}}});
    EXPECT_EQ(ask(), photo);
    EXPECT_EQ(directory.sessionsAlive, 0);
    EXPECT_EQ(directory.nodesAlive, 0);
}

}  // namespace

}  // namespace velunor::testing
