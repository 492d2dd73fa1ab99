#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <ostream>
#include <string>
#include <string_view>

#include "platform/file.h"
#include "platform/property_list/property_list_forms.h"
#include "platform/property_list/property_list_reader.h"
#include "tests/linux/property_list/binary_property_list.h"

namespace velunor {
namespace {

using testing::BinaryPropertyList;

std::string repeated(std::string_view piece, std::size_t count) {
    std::string out;
    for (std::size_t index = 0; index < count; ++index) {
        out += piece;
    }
    return out;
}

Expected<PropertyListValue> parse(std::string_view text) {
    return PropertyListFileReader().parse(
        {reinterpret_cast<const std::byte*>(text.data()), text.size()});
}

std::string plist(const std::string& content) {
    return "<?xml version=\"1.0\"?><plist>" + content + "</plist>";
}

std::string binaryArrays(std::size_t depth) {
    BinaryPropertyList list;
    std::uint32_t top = list.addText("a");
    for (std::size_t level = 0; level < depth; ++level) {
        top = list.addArray({top});
    }
    return list.file(top);
}

std::string binaryWithItself() {
    BinaryPropertyList list;
    return list.file(list.addArray({0}));
}

std::string binaryWithALongerCircle() {
    BinaryPropertyList list;
    list.addArray({1});
    list.addArray({2});
    return list.file(list.addArray({0}));
}

std::string binaryWithItselfAsAKey() {
    BinaryPropertyList list;
    const auto text = list.addText("a");
    const auto dictionary = list.addDictionary({2, text}, {text, text});
    list.addDictionary({text}, {dictionary});
    return list.file(dictionary);
}

/// Each array holds the one before it ten times.
std::string binaryReferenceBomb() {
    BinaryPropertyList list;
    std::uint32_t top = list.addText("a");
    for (int level = 0; level < 20; ++level) {
        top = list.addArray(std::vector(10, top));
    }
    return list.file(top);
}

std::string binaryLongTextBomb() {
    BinaryPropertyList list;
    const auto text = list.addText(std::string(100'000, 'a'));
    return list.file(list.addArray(std::vector(50'000, text)));
}

std::string binaryWithTrailer(std::uint64_t count, std::uint64_t top, std::uint64_t table) {
    return "bplist00\x51"
           "a\x08" +
           std::string(6, '\0') + "\1\1" + BinaryPropertyList::number(count, 8) +
           BinaryPropertyList::number(top, 8) + BinaryPropertyList::number(table, 8);
}

std::string binaryObject(const std::string& object) {
    BinaryPropertyList list;
    return list.file(list.add(object));
}

std::string binaryKey(const std::string& key) {
    BinaryPropertyList list;
    const auto index = list.add(key);
    return list.file(list.addDictionary({index}, {index}));
}

std::string binaryNestedForeignKeys() {
    BinaryPropertyList list;
    const auto text = list.addText("k");
    const auto number = list.add("\x10\x2A");
    const auto inner = list.addDictionary({number}, {text});
    return list.file(list.addDictionary({text}, {inner}));
}

/// A dictionary of keys that stand for themselves, each another one.
std::string keysWithoutValues(int count) {
    std::string out = "{";
    for (int index = 0; index < count; ++index) {
        out += std::to_string(index) + ";";
    }
    return out + "}";
}

struct HostileCase {
    const char* name;
    std::string bytes;
    /// A part of the error's text.
    const char* reason;

    /// How the test runner prints the case.
    friend void PrintTo(const HostileCase& hostile, std::ostream* out) { *out << hostile.name; }
};

class HostilePropertyList : public ::testing::TestWithParam<HostileCase> {};

TEST_P(HostilePropertyList, IsAnErrorOfOneLine) {
    const auto result = parse(GetParam().bytes);
    ASSERT_FALSE(result);
    EXPECT_THAT(result.error().description, ::testing::HasSubstr(GetParam().reason));
    EXPECT_EQ(result.error().description.find('\n'), std::string::npos);
}

const auto nameOf = [](const auto& information) { return std::string(information.param.name); };

INSTANTIATE_TEST_SUITE_P(
    Any, HostilePropertyList,
    ::testing::Values(HostileCase{"Empty", "", "empty"},
                      HostileCase{"BlanksAlone", " \n\t\n", "empty"},
                      HostileCase{"CommentAlone", "// nothing", "empty"},
                      HostileCase{"OddUtf16", std::string("\xFF\xFE\"\0a", 5), "UTF-16"},
                      HostileCase{"LoneHighSurrogateInside", std::string("\xFE\xFF\xD8\0\0a", 6),
                                  "UTF-16"},
                      HostileCase{"LoneLowSurrogate", std::string("\xFE\xFF\xDC\0", 4), "UTF-16"},
                      HostileCase{"LoneSurrogate", std::string("\xFF\xFE\0\xD8", 4), "UTF-16"}),
    nameOf);

INSTANTIATE_TEST_SUITE_P(
    Xml, HostilePropertyList,
    ::testing::Values(
        HostileCase{"Truncated", "<?xml version=\"1.0\"?><plist><dict><key>a</key>", "too early"},
        HostileCase{"TruncatedInATag", "<plist><dict><key", "inside of a tag"},
        HostileCase{"TruncatedInAComment", "<plist><!-- ", "inside of a tag"},
        HostileCase{"PrologueAlone", "<?xml version=\"1.0\"?>", "too early"},
        HostileCase{"EmptyPlist", "<plist></plist>", "malformed"},
        HostileCase{"TooDeep", plist(repeated("<array>", 65) + repeated("</array>", 65)),
                    "too deeply"},
        HostileCase{"VeryDeep", plist(repeated("<array>", 100'000)), "too deeply"},
        HostileCase{"DepthHiddenByComments",
                    plist(repeated("<array><!--></array>-->", 1000) +
                          repeated("</array><!--<array>-->", 1000)),
                    "too deeply"},
        HostileCase{"DepthHiddenByInstructions",
                    plist(repeated("<array><?x ></array>?>", 1000) + repeated("</array>", 1000)),
                    "too deeply"},
        HostileCase{"DepthHiddenByQuotations",
                    plist(repeated("<array a=\"/>\" b=\"\">", 1000) + repeated("</array>", 1000)),
                    "unexpected tag"},
        HostileCase{"InstructionWithAnOpenQuotation", plist("<?a \" ?><array/><?b \" ?>"),
                    "open quotation"},
        HostileCase{"EntityBomb",
                    "<?xml version=\"1.0\"?><!DOCTYPE plist [<!ENTITY a \"aaaaaaaaaa\">"
                    "<!ENTITY b \"&a;&a;&a;&a;&a;&a;\">]><plist><string>&b;</string></plist>",
                    "document type"},
        HostileCase{"EntityWithoutADefinition", plist("<string>&unknown;</string>"), "malformed"},
        HostileCase{"TooManyEntities", plist("<string>" + repeated("&amp;", 200'000) + "</string>"),
                    "entities"},
        HostileCase{"TooManyValues", plist("<array>" + repeated("<true/>", 100'001) + "</array>"),
                    "too many values"},
        HostileCase{"MismatchedTags", plist("<array><dict></array></dict>"), "not open"},
        HostileCase{"ClosedTooOften", "<plist><array></array></array></plist>", "not open"},
        HostileCase{"UnknownTag", plist("<script>a</script>"), "unexpected tag"},
        HostileCase{"TagInAText", plist("<string>a<b>c</b></string>"), "unexpected tag"},
        HostileCase{"TextBetweenTags", plist("<array>a</array>"), "outside of a value"},
        HostileCase{"TwoTopLevels", "<plist><true/></plist><plist><true/></plist>",
                    "more than one"},
        HostileCase{"PlistInAPlist", plist("<plist><true/></plist>"), "more than one"},
        HostileCase{"ValueWithoutAKey", plist("<dict><string>a</string></dict>"), "malformed"},
        HostileCase{"KeyWithoutAValue", plist("<dict><key>a</key></dict>"), "key has no value"},
        HostileCase{"TwoKeysInARow", plist("<dict><key>a</key><key>b</key><true/></dict>"),
                    "key has no value"},
        HostileCase{"KeyInAnArray", plist("<array><key>a</key></array>"), "unexpected tag"},
        HostileCase{"KeyAlone", plist("<key>a</key>"), "unexpected tag"},
        HostileCase{"TwoValuesInThePlist", plist("<true/><true/>"), "more than one"},
        HostileCase{"DepthWithoutAnEnclosingTag",
                    "<array>" + repeated("<array>", 64) + repeated("</array>", 64) + "</array>",
                    "too deeply"},
        HostileCase{"EntityThatAnOuterDocumentTypeMayDefine",
                    R"(<!DOCTYPE plist PUBLIC "p" "s"><plist><string>&a;</string></plist>)",
                    "not defined"},
        HostileCase{"EmptyDocumentTypeOfItsOwn", "<!DOCTYPE plist []><plist><true/></plist>",
                    "document type"},
        HostileCase{
            "AnotherByteThanTheDeclaredEncodingHas",
            "<?xml version=\"1.0\" encoding=\"US-ASCII\"?><plist><string>\xDC</string></plist>",
            "encoding"},
        HostileCase{"UnknownEncoding",
                    R"(<?xml version="1.0" encoding="EBCDIC"?><plist><true/></plist>)",
                    "malformed"},
        HostileCase{"TextBetweenTagsInASection", plist("<array><![CDATA[a]]></array>"),
                    "outside of a value"},
        HostileCase{"NotUtf8", plist("<string>\xFF\xFE</string>"), "UTF-8"},
        HostileCase{"Nul", plist(std::string("<string>a\0b</string>", 20)), "NUL"},
        HostileCase{"SurrogateReference", plist("<string>&#xD800;</string>"), "malformed"}),
    nameOf);

/// A list with one leaf whose content is of another type.
HostileCase leaf(const char* name, const std::string& element) {
    return {name, plist(element), "not of its type"};
}

INSTANTIATE_TEST_SUITE_P(
    XmlLeaf, HostilePropertyList,
    ::testing::Values(
        leaf("WordAsAnInteger", "<integer>seven</integer>"), leaf("EmptyInteger", "<integer/>"),
        leaf("SignAlone", "<integer>-</integer>"), leaf("TwoSigns", "<integer>+-1</integer>"),
        leaf("FractionAsAnInteger", "<integer>1.5</integer>"),
        leaf("TwoIntegers", "<integer>1 2</integer>"), leaf("PrefixAlone", "<integer>0x</integer>"),
        leaf("WordAsAReal", "<real>much</real>"), leaf("EmptyReal", "<real> </real>"),
        leaf("RealWithAComma", "<real>1,5</real>"), leaf("RealWithTwoSigns", "<real>+-1</real>"),
        leaf("WordAsADate", "<date>tomorrow</date>"), leaf("EmptyDate", "<date></date>"),
        leaf("DateWithoutATime", "<date>2026-11-21</date>"),
        leaf("DateWithAnotherZone", "<date>2026-11-21T10:00:00+01:00</date>"),
        leaf("DateWithABlank", "<date>2026-11-21 10:00:00Z</date>"),
        leaf("MonthThatIsNone", "<date>2026-13-01T00:00:00Z</date>"),
        leaf("DayThatIsNone", "<date>2026-02-29T00:00:00Z</date>"),
        leaf("HourThatIsNone", "<date>2026-02-28T24:00:00Z</date>"),
        leaf("MinuteThatIsNone", "<date>2026-02-28T23:60:00Z</date>"),
        leaf("SignThatIsNotBase64", "<data>3q0-</data>"), leaf("CutGroup", "<data>3q0</data>"),
        leaf("LoneSign", "<data>3</data>"), leaf("PaddingAlone", "<data>====</data>"),
        leaf("PaddingTooEarly", "<data>3===</data>"), leaf("PaddingInside", "<data>3=q0</data>"),
        leaf("DataBehindPadding", "<data>YQ==YQ==</data>"),
        leaf("ThreePads", "<data>YWJj===</data>"), leaf("TextInTrue", "<true>yes</true>"),
        leaf("TextInFalse", "<false>no</false>")),
    nameOf);

INSTANTIATE_TEST_SUITE_P(
    Binary, HostilePropertyList,
    ::testing::Values(
        HostileCase{"HeadAlone", "bplist00", "too short"},
        HostileCase{"AnotherVersion", "bplist15" + binaryArrays(3).substr(8), "unknown version"},
        HostileCase{"Truncated", binaryArrays(3).substr(0, binaryArrays(3).size() - 1), ""},
        HostileCase{"TooDeep", binaryArrays(65), "too deeply"},
        HostileCase{"VeryDeep", binaryArrays(50'000), "too deeply"},
        HostileCase{"ContainsItself", binaryWithItself(), "contains itself"},
        HostileCase{"LongerCircle", binaryWithALongerCircle(), "contains itself"},
        HostileCase{"CircleThroughAKey", binaryWithItselfAsAKey(), "contains itself"},
        HostileCase{"ReferenceBomb", binaryReferenceBomb(), "too many values"},
        HostileCase{"LongTextBomb", binaryLongTextBomb(), "too much content"},
        HostileCase{"NoObjects", binaryWithTrailer(0, 0, 10), "impossible trailer"},
        HostileCase{"TooManyObjects", binaryWithTrailer(UINT64_MAX, 0, 10), "impossible trailer"},
        HostileCase{"TopOutside", binaryWithTrailer(1, 1, 10), "impossible trailer"},
        HostileCase{"TableOutside", binaryWithTrailer(1, 0, 12), "impossible trailer"},
        HostileCase{"TableFarOutside", binaryWithTrailer(1, 0, UINT64_MAX), "impossible trailer"},
        HostileCase{"ElementOutside", binaryObject(std::string("\xA1\0\0\0\x09", 5)), "outside"},
        HostileCase{"ImpossibleArrayLength",
                    binaryObject(std::string("\xAF\x13") + std::string(8, '\x7F')),
                    "impossible length"},
        HostileCase{"ImpossibleDictionaryLength",
                    binaryObject(std::string("\xDF\x13") + std::string(8, '\xFF')),
                    "impossible length"},
        HostileCase{"ImpossibleTextLength",
                    binaryObject(std::string("\x5F\x13") + std::string(8, '\xFF')),
                    "impossible length"},
        HostileCase{"ImpossibleWideTextLength", binaryObject("\x6E"), "impossible length"},
        HostileCase{"UnknownKindOfObject", binaryObject("\x70"), "malformed"},
        HostileCase{"UnknownConstant", binaryObject("\x01"), "malformed"},
        HostileCase{"NumberOfAnImpossibleSize", binaryObject("\x1F"), "malformed"},
        HostileCase{"NumberPastTheObjects", binaryObject("\x13\x01"), "malformed"},
        HostileCase{"FractionOfAnImpossibleSize", binaryObject("\x2F"), "malformed"},
        HostileCase{"FractionPastTheObjects", binaryObject("\x23\x01"), "malformed"},
        HostileCase{"DatePastTheObjects", binaryObject("\x33\x01"), "malformed"},
        HostileCase{"WideTextWithALoneHighSurrogate", binaryObject(std::string("\x62\xD8\0\0a", 5)),
                    "UTF-16"},
        HostileCase{"WideTextWithALoneLowSurrogate", binaryObject(std::string("\x62\0a\xDC\0", 5)),
                    "UTF-16"},
        HostileCase{"WideTextThatEndsInAPair", binaryObject(std::string("\x62\0a\xD8\0", 5)),
                    "UTF-16"},
        HostileCase{"WideKeyWithALoneSurrogate", binaryKey(std::string("\x62\0a\xD8\0", 5)),
                    "UTF-16"},
        HostileCase{"TextThatIsNotUtf8", binaryObject("\x51\xFF"), "malformed"},
        HostileCase{"TextWithANul",
                    binaryObject(std::string("\x53"
                                             "a\0b",
                                             4)),
                    "NUL"},
        HostileCase{"KeyWithANul",
                    binaryKey(std::string("\x53"
                                          "a\0b",
                                          4)),
                    "NUL"},
        HostileCase{"WideKeyWithANul", binaryKey(std::string("\x62\0a\0\0", 5)), "NUL"},
        HostileCase{"Set", binaryObject("\xC0"), "malformed"},
        HostileCase{"WholeNumberOfThirtyTwoBytes", binaryObject("\x15" + std::string(32, '\1')),
                    "malformed"},
        HostileCase{"DateOfAnotherSize", binaryObject("\x32" + std::string(4, '\1')), "malformed"},
        HostileCase{"IdentifierOfAnImpossibleSize", binaryObject("\x88" + std::string(9, '\1')),
                    "malformed"},
        HostileCase{"NestedKeyThatIsNotAText", binaryNestedForeignKeys(), "not a text"}),
    nameOf);

INSTANTIATE_TEST_SUITE_P(
    Text, HostilePropertyList,
    ::testing::Values(
        HostileCase{"TooDeep", repeated("(", 66) + repeated(")", 66), "too deeply"},
        HostileCase{"VeryDeep", repeated("{a=", 100'000), "too deeply"},
        HostileCase{"TooManyValues", "(" + repeated("a,", 100'001) + ")", "too many values"},
        HostileCase{"TooManyKeysWithoutValues", keysWithoutValues(100'001), "too many values"},
        HostileCase{"OpenText", "\"abc", "no closing quotation mark on line 1"},
        HostileCase{"OpenComment", "{a = b;} /* abc", "Comment has no end"},
        HostileCase{"CommentOfThreeSigns", "a /*/", "Comment has no end"},
        HostileCase{"OpenDictionary", "{a = b;\nc = d;\n", "Expected } on line 3"},
        HostileCase{"OpenArray", "(a, b", "Expected , or )"},
        HostileCase{"MissingSemicolon", "{a = b c = d;}", "Expected ;"},
        HostileCase{"MissingValue", "{a = ;}", "Expected a value"},
        HostileCase{"OddData", "<abc>", "hexadecimal"},
        HostileCase{"WrongData", "<xy>", "hexadecimal"},
        HostileCase{"StrayBrace", "a = b; }", "Unexpected text"},
        HostileCase{"LoneSurrogateEscape", R"("\Ud83c")", "Unknown escape"},
        HostileCase{"ShortUnicodeEscape", R"("\U12")", "Unknown escape"},
        HostileCase{"OctalEscapeThatIsTooLarge", R"("\777")", "Unknown escape"},
        HostileCase{"EscapeAtTheEnd", "\"\\", "Unknown escape"},
        HostileCase{"NotUtf8", "\"\xFF\"", "UTF-8"},
        HostileCase{"Nul", std::string("\0", 1), "NUL"},
        HostileCase{"NulInAText", std::string("\"a\0b\"", 5), "NUL"},
        HostileCase{"NulInAKey", std::string("{\"a\0b\" = c;}", 12), "NUL"},
        HostileCase{"NulInAComment", std::string("a // \0", 6), "NUL"},
        HostileCase{"NulInUtf16", std::string("\xFE\xFF\0\"\0\0\0\"", 8), "NUL"},
        HostileCase{"OctalEscapeOfNul", R"("a\0")", "NUL"},
        HostileCase{"UnicodeEscapeOfNul", R"("a\U0000")", "NUL"},
        HostileCase{"Picture", "\x89PNG\r\n\x1A\n", "UTF-8"}),
    nameOf);

class DeepestPropertyList : public ::testing::TestWithParam<HostileCase> {};

TEST_P(DeepestPropertyList, IsAccepted) {
    EXPECT_TRUE(parse(GetParam().bytes).has_value());
}

INSTANTIATE_TEST_SUITE_P(
    AtTheLimit, DeepestPropertyList,
    ::testing::Values(HostileCase{"Xml", plist(repeated("<array>", 64) + repeated("</array>", 64)),
                                  ""},
                      HostileCase{"Binary", binaryArrays(64), ""},
                      HostileCase{"Text", repeated("(", 64) + repeated(")", 64), ""}),
    nameOf);

TEST(LargestPropertyList, IsThatOfTheLargestFile) {
    std::string list(largestReadableFile, 'a');
    EXPECT_TRUE(parse(list).has_value());
    list += 'a';
    const auto result = parse(list);
    ASSERT_FALSE(result);
    EXPECT_THAT(result.error().description, ::testing::HasSubstr("too large"));
}

TEST(EveryBeginning, OfASoundListIsAnError) {
    BinaryPropertyList list;
    const auto key = list.addText("title");
    const std::string binary = list.file(list.addDictionary({key}, {list.addArray({key})}));
    const std::string xml = plist("<dict><key>a</key><data>3q0=</data></dict>");
    const std::string text = R"({a = "\Ud83c\Udf89"; b = (<0fbd>, 'c'); /* d */ })";
    for (const std::string& whole : {binary, xml, text}) {
        // Before its sixth sign the head of a binary list reads as a word.
        const std::size_t first = whole == binary ? 6 : 0;
        for (std::size_t length = first; length < whole.size(); ++length) {
            EXPECT_FALSE(parse(whole.substr(0, length)).has_value()) << whole.substr(0, length);
        }
        EXPECT_TRUE(parse(whole).has_value());
    }
}

}  // namespace
}  // namespace velunor
