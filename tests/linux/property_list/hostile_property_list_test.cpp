#include "tests/linux/property_list/hostile_property_list.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <string_view>

#include "platform/file.h"
#include "platform/property_list/property_list_forms.h"
#include "tests/linux/property_list/binary_property_list.h"

namespace velunor {
namespace {

using testing::BinaryPropertyList;

std::string plist(const std::string& content) {
    return "<?xml version=\"1.0\"?><plist>" + content + "</plist>";
}

/// A dictionary of keys that stand for themselves, each another one.
std::string keysWithoutValues(int count) {
    std::string out = "{";
    for (int index = 0; index < count; ++index) {
        out += std::to_string(index) + ";";
    }
    return out + "}";
}

TEST_P(HostilePropertyList, IsAnErrorOfOneLine) {
    const auto result = parse(GetParam().bytes);
    ASSERT_FALSE(result);
    EXPECT_THAT(result.error().description, ::testing::StartsWith(GetParam().reason));
    EXPECT_EQ(result.error().description.find('\n'), std::string::npos);
}

INSTANTIATE_TEST_SUITE_P(
    Any, HostilePropertyList,
    ::testing::Values(HostileCase{"Empty", "", "Property list is empty"},
                      HostileCase{"BlanksAlone", " \n\t\n", "Property list is empty"},
                      HostileCase{"CommentAlone", "// nothing", "Property list is empty"},
                      HostileCase{"OddUtf16", std::string("\xFF\xFE\"\0a", 5),
                                  "Property list is not valid UTF-16"},
                      HostileCase{"LoneHighSurrogateInside", std::string("\xFE\xFF\xD8\0\0a", 6),
                                  "Property list is not valid UTF-16"},
                      HostileCase{"LoneLowSurrogate", std::string("\xFE\xFF\xDC\0", 4),
                                  "Property list is not valid UTF-16"},
                      HostileCase{"LoneSurrogate", std::string("\xFF\xFE\0\xD8", 4),
                                  "Property list is not valid UTF-16"}),
    nameOf);

INSTANTIATE_TEST_SUITE_P(
    Xml, HostilePropertyList,
    ::testing::Values(
        HostileCase{"Truncated", "<?xml version=\"1.0\"?><plist><dict><key>a</key>",
                    "XML property list ends too early on line 1"},
        HostileCase{"TruncatedInATag", "<plist><dict><key",
                    "XML property list ends inside of a tag on line 1"},
        HostileCase{"TruncatedInAComment", "<plist><!-- ",
                    "XML property list ends inside of a tag on line 1"},
        HostileCase{"PrologueAlone", "<?xml version=\"1.0\"?>",
                    "XML property list ends too early on line 1"},
        HostileCase{"EmptyPlist", "<plist></plist>",
                    "XML property list is malformed: it holds no value on line 1"},
        HostileCase{"TooDeep", plist(repeated("<array>", 65) + repeated("</array>", 65)),
                    "XML property list is nested too deeply on line 1"},
        HostileCase{"VeryDeep", plist(repeated("<array>", 100'000)),
                    "XML property list is nested too deeply on line 1"},
        HostileCase{"DepthHiddenByComments",
                    plist(repeated("<array><!--></array>-->", 1000) +
                          repeated("</array><!--<array>-->", 1000)),
                    "XML property list is nested too deeply on line 1"},
        HostileCase{"DepthHiddenByInstructions",
                    plist(repeated("<array><?x ></array>?>", 1000) + repeated("</array>", 1000)),
                    "XML property list is nested too deeply on line 1"},
        HostileCase{"DepthHiddenByQuotations",
                    plist(repeated("<array a=\"/>\" b=\"\">", 1000) + repeated("</array>", 1000)),
                    "XML property list has an unexpected tag on line 1"},
        HostileCase{"InstructionWithAnOpenQuotation", plist("<?a \" ?><array/><?b \" ?>"),
                    "XML property list has an instruction with an open quotation on line 1"},
        HostileCase{"EntityBomb",
                    "<?xml version=\"1.0\"?><!DOCTYPE plist [<!ENTITY a \"aaaaaaaaaa\">"
                    "<!ENTITY b \"&a;&a;&a;&a;&a;&a;\">]><plist><string>&b;</string></plist>",
                    "XML property list defines a document type of its own on line 1"},
        HostileCase{"EntityWithoutADefinition", plist("<string>&unknown;</string>"),
                    "XML property list is malformed: "},
        HostileCase{"TooManyEntities", plist("<string>" + repeated("&amp;", 200'000) + "</string>"),
                    "XML property list holds too many entities"},
        HostileCase{"TooManyValues", plist("<array>" + repeated("<true/>", 100'001) + "</array>"),
                    "XML property list holds too many values on line 1"},
        HostileCase{"MismatchedTags", plist("<array><dict></array></dict>"),
                    "XML property list closes what is not open on line 1"},
        HostileCase{"ClosedTooOften", "<plist><array></array></array></plist>",
                    "XML property list closes what is not open on line 1"},
        HostileCase{"UnknownTag", plist("<script>a</script>"),
                    "XML property list has an unexpected tag on line 1"},
        HostileCase{"TagInAText", plist("<string>a<b>c</b></string>"),
                    "XML property list has an unexpected tag on line 1"},
        HostileCase{"TextBetweenTags", plist("<array>a</array>"),
                    "XML property list has text outside of a value on line 1"},
        HostileCase{"TwoTopLevels", "<plist><true/></plist><plist><true/></plist>",
                    "XML property list has more than one top level on line 1"},
        HostileCase{"PlistInAPlist", plist("<plist><true/></plist>"),
                    "XML property list has more than one top level on line 1"},
        HostileCase{"ValueWithoutAKey", plist("<dict><string>a</string></dict>"),
                    "XML property list is malformed: a value has no key on line 1"},
        HostileCase{"KeyWithoutAValue", plist("<dict><key>a</key></dict>"),
                    "XML property list is malformed: a key has no value on line 1"},
        HostileCase{"TwoKeysInARow", plist("<dict><key>a</key><key>b</key><true/></dict>"),
                    "XML property list is malformed: a key has no value on line 1"},
        HostileCase{"KeyInAnArray", plist("<array><key>a</key></array>"),
                    "XML property list has an unexpected tag on line 1"},
        HostileCase{"KeyAlone", plist("<key>a</key>"),
                    "XML property list has an unexpected tag on line 1"},
        HostileCase{"TwoValuesInThePlist", plist("<true/><true/>"),
                    "XML property list has more than one top level on line 1"},
        HostileCase{"DepthWithoutAnEnclosingTag",
                    "<array>" + repeated("<array>", 64) + repeated("</array>", 64) + "</array>",
                    "XML property list is nested too deeply on line 1"},
        HostileCase{
            "EntityThatAnOuterDocumentTypeMayDefine",
            R"(<!DOCTYPE plist PUBLIC "p" "s"><plist><string>&a;</string></plist>)",
            "XML property list is malformed: it has an entity that is not defined on line 1"},
        HostileCase{"EmptyDocumentTypeOfItsOwn", "<!DOCTYPE plist []><plist><true/></plist>",
                    "XML property list defines a document type of its own on line 1"},
        HostileCase{
            "AnotherByteThanTheDeclaredEncodingHas",
            "<?xml version=\"1.0\" encoding=\"US-ASCII\"?><plist><string>\xDC</string></plist>",
            "XML property list is neither valid UTF-8 nor of the encoding that it declares on line "
            "1"},
        HostileCase{"UnknownEncoding",
                    R"(<?xml version="1.0" encoding="EBCDIC"?><plist><true/></plist>)",
                    "XML property list is malformed: "},
        HostileCase{"TextBetweenTagsInASection", plist("<array><![CDATA[a]]></array>"),
                    "XML property list has text outside of a value on line 1"},
        HostileCase{"NotUtf8", plist("<string>\xFF\xFE</string>"),
                    "XML property list is neither valid UTF-8 nor of the encoding that it declares "
                    "on line 1"},
        HostileCase{"Nul", plist(std::string("<string>a\0b</string>", 20)),
                    "XML property list holds a NUL character"},
        HostileCase{"SurrogateReference", plist("<string>&#xD800;</string>"),
                    "XML property list is malformed: "}),
    nameOf);

/// A list with one leaf whose content is of another type.
HostileCase leaf(const char* name, const std::string& element) {
    return {name, plist(element), "XML property list is malformed: the content of <"};
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
        leaf("SecondThatIsNone", "<date>2026-02-28T23:59:60Z</date>"),
        leaf("LetterInADate", "<date>20x6-02-28T23:59:59Z</date>"),
        leaf("TildeInData", "<data>3q0~</data>"), leaf("SignThatIsNotBase64", "<data>3q0-</data>"),
        leaf("CutGroup", "<data>3q0</data>"), leaf("LoneSign", "<data>3</data>"),
        leaf("PaddingAlone", "<data>====</data>"), leaf("PaddingTooEarly", "<data>3===</data>"),
        leaf("PaddingInside", "<data>3=q0</data>"),
        leaf("DataBehindPadding", "<data>YQ==YQ==</data>"),
        leaf("ThreePads", "<data>YWJj===</data>"), leaf("TextInTrue", "<true>yes</true>"),
        leaf("TextInFalse", "<false>no</false>")),
    nameOf);

INSTANTIATE_TEST_SUITE_P(
    Text, HostilePropertyList,
    ::testing::Values(
        HostileCase{"TooDeep", repeated("(", 66) + repeated(")", 66),
                    "Property list is nested too deeply on line 1"},
        HostileCase{"VeryDeep", repeated("{a=", 100'000),
                    "Property list is nested too deeply on line 1"},
        HostileCase{"TooManyValues", "(" + repeated("a,", 100'001) + ")",
                    "Property list holds too many values on line 1"},
        HostileCase{"TooManyKeysWithoutValues", keysWithoutValues(100'001),
                    "Property list holds too many values on line 1"},
        HostileCase{"OpenText", "\"abc", "Text has no closing quotation mark on line 1"},
        HostileCase{"OpenComment", "{a = b;} /* abc", "Comment has no end on line 1"},
        HostileCase{"CommentOfThreeSigns", "a /*/", "Comment has no end on line 1"},
        HostileCase{"OpenDictionary", "{a = b;\nc = d;\n", "Expected } on line 3"},
        HostileCase{"OpenArray", "(a, b", "Expected , or ) on line 1"},
        HostileCase{"MissingSemicolon", "{a = b c = d;}", "Expected ; on line 1"},
        HostileCase{"MissingValue", "{a = ;}", "Expected a value on line 1"},
        HostileCase{"OddData", "<abc>", "Expected pairs of hexadecimal digits on line 1"},
        HostileCase{"WrongData", "<xy>", "Expected pairs of hexadecimal digits on line 1"},
        HostileCase{"StrayBrace", "a = b; }", "Unexpected text after the property list on line 1"},
        HostileCase{"LoneSurrogateEscape", R"("\Ud83c")", "Unknown escape in a text on line 1"},
        HostileCase{"ShortUnicodeEscape", R"("\U12")", "Unknown escape in a text on line 1"},
        HostileCase{"OctalEscapeThatIsTooLarge", R"("\777")", "Unknown escape in a text on line 1"},
        HostileCase{"OctalEscapeBehindTheLastByte", R"("\400")",
                    "Unknown escape in a text on line 1"},
        HostileCase{"OtherLetterInAPairOfEscapes", R"("\Ud83c\~df89")",
                    "Unknown escape in a text on line 1"},
        HostileCase{"TildeOutsideOfQuotes", "~", "Expected a value on line 1"},
        HostileCase{"FirstLineIsEmpty", "\n(a b\n\n)", "Expected , or ) on line 2"},
        HostileCase{"EscapeAtTheEnd", "\"\\", "Unknown escape in a text on line 1"},
        HostileCase{"NotUtf8", "\"\xFF\"", "Property list is not valid UTF-8"},
        HostileCase{"Nul", std::string("\0", 1), "Property list holds a NUL character"},
        HostileCase{"NulInAText", std::string("\"a\0b\"", 5),
                    "Property list holds a NUL character"},
        HostileCase{"NulInAKey", std::string("{\"a\0b\" = c;}", 12),
                    "Property list holds a NUL character"},
        HostileCase{"NulInAComment", std::string("a // \0", 6),
                    "Property list holds a NUL character"},
        HostileCase{"NulInUtf16", std::string("\xFE\xFF\0\"\0\0\0\"", 8),
                    "Property list holds a NUL character"},
        HostileCase{"OctalEscapeOfNul", R"("a\0")", "Text holds a NUL character on line 1"},
        HostileCase{"UnicodeEscapeOfNul", R"("a\U0000")", "Text holds a NUL character on line 1"},
        HostileCase{"Picture", "\x89PNG\r\n\x1A\n", "Property list is not valid UTF-8"}),
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
    EXPECT_EQ(result.error().description, "Property list is too large");
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
