// Property lists of exactly the largest size or number, and just beyond; binary ones whose parts
// end exactly where they may, and one byte later.

#include <gtest/gtest.h>

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "platform/property_list/property_list_reader.h"
#include "tests/linux/property_list/binary_property_list.h"

namespace velunor {
namespace {

using namespace std::string_literals;
using testing::BinaryPropertyList;

/// A text of one letter, as an object.
const std::string letterZ{'\x51', 'z'};

constexpr std::size_t mostValues = 100'000;
constexpr const char* impossibleLength = "Binary property list has an impossible length";
constexpr const char* impossibleTrailer = "Binary property list has an impossible trailer";
constexpr const char* malformed =
    "Binary property list is malformed: it has a value of an unknown kind or size";
constexpr const char* outside = "Binary property list refers to a place outside of it";

Expected<PropertyListValue> parse(std::string_view text) {
    return PropertyListFileReader().parse(
        {reinterpret_cast<const std::byte*>(text.data()), text.size()});
}

/// The error, or "accepted".
std::string outcomeOf(std::string_view text) {
    const auto result = parse(text);
    return result ? "accepted" : result.error().description;
}

PropertyListValue valueOf(std::string_view text) {
    const auto result = parse(text);
    EXPECT_TRUE(result) << result.error().description;
    return result ? *result : PropertyListValue{};
}

std::string repeated(std::string_view piece, std::size_t count) {
    std::string out;
    for (std::size_t index = 0; index < count; ++index) {
        out += piece;
    }
    return out;
}

std::string objectAlone(const std::string& object) {
    BinaryPropertyList list;
    return list.file(list.add(object));
}

struct Trailer {
    std::uint64_t offsetSize = 1;
    std::uint64_t referenceSize = 1;
    std::uint64_t count = 1;
    std::uint64_t table = 8;
};

/// A binary list of these bytes between its head and its trailer, with the first object on top.
std::string binary(const std::string& content, const Trailer& trailer) {
    const auto number = BinaryPropertyList::number;
    return "bplist00" + content + std::string(6, '\0') + number(trailer.offsetSize, 1) +
           number(trailer.referenceSize, 1) + number(trailer.count, 8) + number(0, 8) +
           number(trailer.table, 8);
}

/// An array of one text, with offsets and references of these sizes.
std::string binaryOfSizes(int offsetSize, int referenceSize) {
    const auto number = BinaryPropertyList::number;
    const std::string array = "\xA1" + number(1, referenceSize);
    const std::uint64_t text = 8 + array.size();
    return binary(array + letterZ + number(8, offsetSize) + number(text, offsetSize),
                  {.offsetSize = static_cast<std::uint64_t>(offsetSize),
                   .referenceSize = static_cast<std::uint64_t>(referenceSize),
                   .count = 2,
                   .table = text + 2});
}

TEST(BinaryTrailer, TellsTheSizesOfOffsetsAndOfReferences) {
    const PropertyListValue expected{PropertyListArray{{"z"s}}};
    for (const int offsetSize : {1, 2, 8}) {
        for (const int referenceSize : {1, 2, 8}) {
            EXPECT_EQ(valueOf(binaryOfSizes(offsetSize, referenceSize)), expected);
        }
    }
}

TEST(BinaryTrailer, HasSizesFromOneToEight) {
    const std::string content = letterZ + std::string(9, '\x08');
    for (const std::uint64_t size : {0U, 9U}) {
        EXPECT_EQ(outcomeOf(binary(content, {.offsetSize = size, .table = 10})), impossibleTrailer);
        EXPECT_EQ(outcomeOf(binary(content, {.referenceSize = size, .table = 10})),
                  impossibleTrailer);
    }
    EXPECT_EQ(outcomeOf(binary(content, {.table = 10})), "accepted");
}

TEST(BinaryTrailer, HasTheTableBehindTheHeadAndNoMoreObjectsThanThereAreOffsets) {
    EXPECT_EQ(outcomeOf(binary("", {})), impossibleTrailer);
    EXPECT_EQ(outcomeOf(binary("\x08", {.table = 7})), impossibleTrailer);
    EXPECT_EQ(outcomeOf(binary("\x08", {})), outside);
    EXPECT_EQ(outcomeOf(binary(letterZ + "\x08", {.count = 2, .table = 10})), impossibleTrailer);
    EXPECT_EQ(
        outcomeOf(binary(letterZ + "\0\0\0\x08"s, {.offsetSize = 4, .count = 2, .table = 10})),
        impossibleTrailer);
}

TEST(BinaryLength, MayBeANumberOfUpToEightBytes) {
    EXPECT_EQ(valueOf(objectAlone("\x5F\x10\x01z")), PropertyListValue{"z"s});
    EXPECT_EQ(valueOf(objectAlone("\x5F\x13\0\0\0\0\0\0\0\x01z"s)), PropertyListValue{"z"s});
    EXPECT_EQ(valueOf(objectAlone("\x5F\x10\0"s)), PropertyListValue{""s});
    EXPECT_EQ(outcomeOf(objectAlone("\x5F\x14" + std::string(15, '\0') + "\x01z")),
              impossibleLength);
    EXPECT_EQ(outcomeOf(objectAlone("\x5F\x21\0\x01z"s)), impossibleLength);
}

TEST(BinaryLength, EndsWithTheObjects) {
    for (const std::string& object : {"\x5F\x10"s, std::string{'\x5F'}, std::string{'\x53', 'z'},
                                      "\x62\0z"s, "\xD1\0\0\0\0\0\0"s}) {
        EXPECT_EQ(outcomeOf(objectAlone(object)), impossibleLength);
    }
    EXPECT_EQ(outcomeOf(objectAlone("\x11\x01")), malformed);
    EXPECT_EQ(outcomeOf(objectAlone("\xA1\0\0\0\x01"s)), outside);
}

TEST(BinaryNumber, MayBeAnIdentifierOfEightBytes) {
    EXPECT_EQ(valueOf(objectAlone("\x87\0\0\0\0\0\0\0\x05"s)), PropertyListValue{std::int64_t{5}});
}

TEST(BinaryContent, IsThirtyTwoMebibytesAtMost) {
    BinaryPropertyList list;
    const auto mebibyte = list.addText(std::string(1'048'576, 'z'));
    const auto letter = list.addText("z");
    std::vector<std::uint32_t> elements(32, mebibyte);
    EXPECT_EQ(outcomeOf(list.file(list.addArray(elements))), "accepted");
    elements.push_back(letter);
    EXPECT_EQ(outcomeOf(list.file(list.addArray(elements))),
              "Binary property list holds too much content");
}

TEST(MostValues, OfABinaryList) {
    BinaryPropertyList list;
    const auto yes = list.add("\x09");
    EXPECT_EQ(outcomeOf(list.file(list.addArray(std::vector(mostValues - 1, yes)))), "accepted");
    EXPECT_EQ(outcomeOf(list.file(list.addArray(std::vector(mostValues, yes)))),
              "Binary property list holds too many values");
}

TEST(MostValues, OfAnXmlList) {
    const auto array = [](std::size_t count) {
        return "<plist><array>" + repeated("<true/>", count) + "</array></plist>";
    };
    EXPECT_EQ(outcomeOf(array(mostValues - 2)), "accepted");
    EXPECT_EQ(outcomeOf(array(mostValues - 1)),
              "XML property list holds too many values on line 1");
    EXPECT_EQ(outcomeOf("<plist><string>" + repeated("&amp;", mostValues) + "</string></plist>"),
              "accepted");
}

TEST(MostValues, OfAListInTheTextForm) {
    constexpr const char* tooMany = "Property list holds too many values on line 1";
    EXPECT_EQ(outcomeOf("(" + repeated("a,", mostValues - 1) + ")"), "accepted");
    EXPECT_EQ(outcomeOf("(" + repeated("a,", mostValues) + ")"), tooMany);
    EXPECT_EQ(outcomeOf("{" + repeated("a;", mostValues - 1) + "}"), "accepted");
    EXPECT_EQ(outcomeOf("{" + repeated("a;", mostValues) + "}"), tooMany);
}

TEST(DeepestText, IsAcceptedWithAndWithoutBraces) {
    EXPECT_EQ(outcomeOf(repeated("(", 64) + "a" + repeated(")", 64)), "accepted");
    EXPECT_EQ(outcomeOf(repeated("{a=", 64) + "a" + repeated(";}", 64)), "accepted");
    EXPECT_EQ(outcomeOf("a=" + repeated("(", 63) + "a" + repeated(")", 63) + ";"), "accepted");
    EXPECT_EQ(outcomeOf("a=" + repeated("(", 64) + "a" + repeated(")", 64) + ";"),
              "Property list is nested too deeply on line 1");
}

TEST(TextPropertyListForm, KeyAloneStandsForItself) {
    EXPECT_EQ(valueOf("{a; b;}"),
              (PropertyListValue{PropertyListDictionary{{"a", {"a"s}}, {"b", {"b"s}}}}));
}

TEST(TextPropertyListForm, ShortestCommentAndLongestOctalEscape) {
    EXPECT_EQ(valueOf("/**/a"), PropertyListValue{"a"s});
    EXPECT_EQ(valueOf(R"("\1017\377")"), PropertyListValue{"A7\u00FF"s});
}

TEST(TextPropertyListForm, TellsWhereItEndsTooEarly) {
    EXPECT_EQ(outcomeOf("(a,\n"), "Property list ends too early on line 2");
}

TEST(XmlPropertyListForm, TellsWhichTagIsNotWhatItClaims) {
    EXPECT_EQ(
        outcomeOf("<plist>\n<integer>x</integer></plist>"),
        "XML property list is malformed: the content of <integer> is not of its type on line 2");
}

TEST(XmlPropertyListForm, EveryTagMayBeTheFirst) {
    EXPECT_EQ(valueOf("<string>a</string>"), PropertyListValue{"a"s});
    EXPECT_EQ(valueOf("<integer>0X1F</integer>"), PropertyListValue{std::int64_t{31}});
    EXPECT_EQ(valueOf("<real>0.5</real>"), PropertyListValue{0.5});
    EXPECT_EQ(valueOf("<array></array>"), PropertyListValue{PropertyListArray{}});
}

}  // namespace
}  // namespace velunor
