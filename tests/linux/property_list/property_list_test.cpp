#include <gtest/gtest.h>

#include <cstdint>
#include <limits>
#include <string>
#include <string_view>

#include "platform/property_list/property_list_reader.h"
#include "tests/linux/property_list/binary_property_list.h"

namespace velunor {
namespace {

using testing::BinaryPropertyList;

Expected<PropertyListValue> parse(std::string_view text) {
    return PropertyListFileReader().parse(
        {reinterpret_cast<const std::byte*>(text.data()), text.size()});
}

/// The value that the bytes hold; an error in them fails the test.
PropertyListValue value(std::string_view text) {
    const auto result = parse(text);
    if (!result) {
        ADD_FAILURE() << result.error().description;
        return {};
    }
    return *result;
}

PropertyListValue text(const char* content) {
    return {std::string(content)};
}

std::string xml(const std::string& content) {
    return "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<!DOCTYPE plist PUBLIC \"-//Apple//DTD "
           "PLIST "
           "1.0//EN\" \"http://www.apple.com/DTDs/PropertyList-1.0.dtd\">\n"
           "<plist version=\"1.0\">\n" +
           content + "\n</plist>\n";
}

std::string utf16(const std::u16string& content, bool bigEndian) {
    std::string out;
    for (const char16_t unit : u'\uFEFF' + content) {
        const char low = static_cast<char>(unit & 0xFFU);
        const char high = static_cast<char>(unit >> 8U);
        out += bigEndian ? high : low;
        out += bigEndian ? low : high;
    }
    return out;
}

TEST(XmlPropertyList, DictionaryOfTexts) {
    const PropertyListDictionary expected{{"title", text("Über & <b>")}, {"info", text("")}};
    EXPECT_EQ(value(xml("<dict><key>title</key><string>Über &amp; &lt;b&gt;</string>"
                        "<key>info</key><string/></dict>")),
              PropertyListValue{expected});
}

TEST(XmlPropertyList, EveryTypeOfValue) {
    const PropertyListArray expected{text("a"),
                                     {true},
                                     {false},
                                     {std::int64_t{-42}},
                                     {2.5},
                                     {PropertyListDate{0}},
                                     {PropertyListData{std::byte{0xDE}, std::byte{0xAD}}},
                                     {PropertyListArray{}},
                                     {PropertyListDictionary{}}};
    EXPECT_EQ(value(xml("<array><string>a</string><true/><false/><integer>-42</integer>"
                        "<real>2.5</real><date>2001-01-01T00:00:00Z</date><data>3q0=</data>"
                        "<array/><dict/></array>")),
              PropertyListValue{expected});
}

TEST(XmlPropertyList, CommentsSectionsAndLineBreaksInTexts) {
    EXPECT_EQ(value(xml("<!-- <array> --><string>a<!-- x -->b<![CDATA[<c>&amp;]]>\nd</string>")),
              text("ab<c>&amp;\nd"));
}

TEST(XmlPropertyList, NumericCharacterReferences) {
    EXPECT_EQ(value(xml("<string>&#169;&#x1F389;</string>")), text("©🎉"));
}

TEST(XmlPropertyList, TopLevelOfAnotherType) {
    EXPECT_EQ(value(xml("<string>text</string>")), text("text"));
    EXPECT_EQ(value(xml("<array><string>a</string></array>")),
              PropertyListValue{PropertyListArray{text("a")}});
}

TEST(XmlPropertyList, WithoutPrologueOrEnclosingTag) {
    EXPECT_EQ(value("<plist><string>a</string></plist>"), text("a"));
    EXPECT_EQ(value("\n <dict><key>k</key><string>v</string></dict>"),
              (PropertyListValue{PropertyListDictionary{{"k", text("v")}}}));
}

TEST(XmlPropertyList, LastOfTwoEqualKeysCounts) {
    EXPECT_EQ(value(xml("<dict><key>k</key><string>first</string>"
                        "<key>k</key><string>second</string></dict>")),
              (PropertyListValue{PropertyListDictionary{{"k", text("second")}}}));
}

TEST(XmlPropertyList, ByteOrderMarkAndUtf16) {
    const std::u16string wide =
        u"<?xml version=\"1.0\" encoding=\"UTF-16\"?><plist><string>Über 🎉</string></plist>";
    EXPECT_EQ(value("\xEF\xBB\xBF" + xml("<string>a</string>")), text("a"));
    EXPECT_EQ(value(utf16(wide, false)), text("Über 🎉"));
    EXPECT_EQ(value(utf16(wide, true)), text("Über 🎉"));
}

TEST(XmlPropertyList, HugeNumbersAreNumbersAndNothingElse) {
    const auto list =
        value(xml("<array><integer>99999999999999999999999999</integer>"
                  "<real>1e999</real><integer>9223372036854775807</integer></array>"));
    const auto& elements = std::get<PropertyListArray>(list.value);
    ASSERT_EQ(elements.size(), 3U);
    EXPECT_TRUE(std::holds_alternative<std::int64_t>(elements[0].value));
    EXPECT_TRUE(std::holds_alternative<double>(elements[1].value));
    EXPECT_EQ(elements[2], PropertyListValue{std::int64_t{9223372036854775807}});
}

TEST(XmlPropertyList, NumbersInEveryNotation) {
    EXPECT_EQ(value(xml("<array><integer> +7\n</integer><integer>0x1F</integer>"
                        "<integer>-9223372036854775808</integer><real>-.5e1</real><real>+3</real>"
                        "<real>1e-999</real></array>")),
              (PropertyListValue{PropertyListArray{{std::int64_t{7}},
                                                   {std::int64_t{31}},
                                                   {std::numeric_limits<std::int64_t>::min()},
                                                   {-5.0},
                                                   {3.0},
                                                   {0.0}}}));
}

TEST(XmlPropertyList, NumbersBeyondTheRangeAreTheNearestOnes) {
    EXPECT_EQ(value(xml("<array><integer>9223372036854775808</integer>"
                        "<integer>-99999999999999999999</integer><real>-1e999</real></array>")),
              (PropertyListValue{PropertyListArray{{std::numeric_limits<std::int64_t>::max()},
                                                   {std::numeric_limits<std::int64_t>::min()},
                                                   {-std::numeric_limits<double>::infinity()}}}));
}

TEST(XmlPropertyList, DatesBeforeAndAfterTheEpoch) {
    EXPECT_EQ(value(xml("<array><date>2000-12-31T23:59:59Z</date>"
                        "<date> 2024-02-29T12:30:15Z </date></array>")),
              (PropertyListValue{
                  PropertyListArray{{PropertyListDate{-1}}, {PropertyListDate{730902615}}}}));
}

TEST(XmlPropertyList, DataInLinesAndOfEveryLength) {
    const auto data = [](std::string_view bytes) {
        PropertyListData content;
        for (const char byte : bytes) {
            content.push_back(static_cast<std::byte>(byte));
        }
        return PropertyListValue{content};
    };
    EXPECT_EQ(value(xml("<array><data/><data>\n\tYQ==\n</data><data>YWI=</data>"
                        "<data>YW\nJj+/8=</data></array>")),
              (PropertyListValue{
                  PropertyListArray{data(""), data("a"), data("ab"), data("abc\xFB\xFF")}}));
}

TEST(XmlPropertyList, DeclaredEncodingIsConverted) {
    const std::string content =
        "<plist><string>\xDC"
        "ber \xA9</string></plist>";
    EXPECT_EQ(value("<?xml version=\"1.0\" encoding=\"ISO-8859-1\"?>" + content), text("Über ©"));
    EXPECT_EQ(
        value(
            "<?xml version=\"1.0\" encoding=\"US-ASCII\"?><plist><string>a&#xDC;</string></plist>"),
        text("aÜ"));
}

TEST(XmlPropertyList, AttributesAndInstructionsAreSkipped) {
    EXPECT_EQ(value("<?xml version=\"1.0\"?><?a \"b\"?><plist version=\"1.0\"><array a='b'>"
                    "<?c?><true /></array></plist>"),
              PropertyListValue{PropertyListArray{{true}}});
}

TEST(BinaryPropertyListForm, NumbersOfEverySize) {
    BinaryPropertyList list;
    const auto array = list.addArray(
        {list.add("\x10\xFF"), list.add("\x11\xFF\xFF"), list.add("\x12\xFF\xFF\xFF\xFF"),
         list.add("\x13\xFF\xFF\xFF\xFF\xFF\xFF\xFF\xFE"),
         list.add("\x14" + std::string(15, '\xFF') + "\xFD"),
         list.add(std::string("\x22\x40\x20\0\0", 5)), list.add("\x82\x01\x02\x03")});
    EXPECT_EQ(value(list.file(array)),
              (PropertyListValue{PropertyListArray{{std::int64_t{0xFF}},
                                                   {std::int64_t{0xFFFF}},
                                                   {std::int64_t{0xFFFFFFFF}},
                                                   {std::int64_t{-2}},
                                                   {std::int64_t{-3}},
                                                   {2.5},
                                                   {std::int64_t{0x010203}}}}));
}

TEST(BinaryPropertyListForm, DateWithAFraction) {
    BinaryPropertyList list;
    EXPECT_EQ(value(list.file(list.add(std::string("\x33\xBF\xE0\0\0\0\0\0\0", 9)))),
              PropertyListValue{PropertyListDate{-0.5}});
}

TEST(BinaryPropertyListForm, LastOfTwoEqualKeysCounts) {
    BinaryPropertyList list;
    const auto key = list.addText("k");
    const auto first = list.addText("first");
    const auto second = list.addText("second");
    EXPECT_EQ(value(list.file(list.addDictionary({key, key}, {first, second}))),
              (PropertyListValue{PropertyListDictionary{{"k", text("second")}}}));
}

TEST(BinaryPropertyListForm, DictionaryOfTexts) {
    BinaryPropertyList list;
    const auto key = list.addText("title");
    const auto wide = list.add(std::string("\x62\x00\xDC\x20\xAC", 5));
    EXPECT_EQ(value(list.file(list.addDictionary({key}, {wide}))),
              (PropertyListValue{PropertyListDictionary{{"title", text("Ü€")}}}));
}

TEST(BinaryPropertyListForm, EveryTypeOfValue) {
    BinaryPropertyList list;
    const auto array =
        list.addArray({list.add("\x09"), list.add(std::string("\x08")), list.add("\x10\x2A"),
                       list.add(std::string("\x23\x40\x04\0\0\0\0\0\0", 9)),
                       list.add(std::string("\x33\0\0\0\0\0\0\0\0", 9)), list.add("\x42\xDE\xAD"),
                       list.addText("a")});
    const PropertyListArray expected{{true},
                                     {false},
                                     {std::int64_t{42}},
                                     {2.5},
                                     {PropertyListDate{0}},
                                     {PropertyListData{std::byte{0xDE}, std::byte{0xAD}}},
                                     text("a")};
    EXPECT_EQ(value(list.file(array)), PropertyListValue{expected});
}

TEST(BinaryPropertyListForm, NullIsAValueThatIsNoText) {
    BinaryPropertyList list;
    const auto null = list.add(std::string(1, '\0'));
    const auto title = list.addText("title");
    const auto info = list.addText("info");
    const auto both = value(list.file(list.addDictionary({title, info}, {null, info})));
    ASSERT_NE(both.dictionary(), nullptr);
    EXPECT_EQ(both.dictionary()->at("title"), PropertyListValue{PropertyListNull{}});
    EXPECT_EQ(both.dictionary()->at("title").text(), nullptr);
    EXPECT_EQ(both.dictionary()->at("info"), text("info"));
    EXPECT_EQ(value(list.file(null)), PropertyListValue{PropertyListNull{}});
    EXPECT_EQ(value(list.file(list.addDictionary({null}, {info}))),
              PropertyListValue{PropertyListForeignDictionary{}});
}

TEST(BinaryPropertyListForm, WideTextWithASurrogatePair) {
    BinaryPropertyList list;
    EXPECT_EQ(value(list.file(list.add("\x63\xD8\x3C\xDF\x89\x26\x03"))), text("🎉☃"));
}

TEST(BinaryPropertyListForm, TopLevelOfAnotherType) {
    BinaryPropertyList list;
    EXPECT_EQ(value(list.file(list.addText("text"))), text("text"));
}

TEST(BinaryPropertyListForm, SharedValueIsThereEachTime) {
    BinaryPropertyList list;
    const auto shared = list.addText("same");
    EXPECT_EQ(value(list.file(list.addArray({shared, shared}))),
              (PropertyListValue{PropertyListArray{text("same"), text("same")}}));
}

TEST(BinaryPropertyListForm, TopLevelWithAKeyThatIsNotATextIsAForeignDictionary) {
    BinaryPropertyList list;
    const auto number = list.add("\x10\x2A");
    const auto title = list.addText("title");
    EXPECT_EQ(value(list.file(list.addDictionary({title, number}, {title, title}))),
              PropertyListValue{PropertyListForeignDictionary{}});
}

TEST(TextPropertyList, DictionaryWithEveryKindOfValue) {
    const PropertyListDictionary expected{
        {"title", text("two words")},
        {"bare", text("a/b.c-d_$1:2")},
        {"list", {PropertyListArray{text("a"), text("b")}}},
        {"data", {PropertyListData{std::byte{0x0F}, std::byte{0xBD}, std::byte{0x77}}}},
        {"nested", {PropertyListDictionary{{"k", text("v")}}}}};
    EXPECT_EQ(value("// first\n{ title = \"two words\"; /* between */ bare = a/b.c-d_$1:2;\n"
                    " list = (a, 'b',); data = <0fbd 77>; nested = {k = v;}; }\n"),
              PropertyListValue{expected});
}

TEST(TextPropertyList, PairsWithoutBraces) {
    EXPECT_EQ(
        value("/* messages */\n\"title\" = \"A\";\ninfo = B;\n"),
        (PropertyListValue{PropertyListDictionary{{"title", text("A")}, {"info", text("B")}}}));
}

TEST(TextPropertyList, TopLevelOfAnotherType) {
    EXPECT_EQ(value("word"), text("word"));
    EXPECT_EQ(value("\"a text\" // end"), text("a text"));
    EXPECT_EQ(value("(a, (b))"),
              (PropertyListValue{PropertyListArray{text("a"), {PropertyListArray{text("b")}}}}));
    EXPECT_EQ(value("<>"), PropertyListValue{PropertyListData{}});
}

TEST(TextPropertyList, EscapesInTexts) {
    EXPECT_EQ(value(R"("\n\t\r\a\b\f\v\"\'\\\101\7x\U00dc\u20AC\Ud83c\Udf89\q")"),
              text("\n\t\r\a\b\f\v\"'\\A\ax"
                   "Ü€🎉q"));
    EXPECT_EQ(value("\"a\\\nb\""), text("a\nb"));
}

TEST(TextPropertyList, Utf16AndByteOrderMark) {
    EXPECT_EQ(value(utf16(u"\"title\" = \"Über\";", false)),
              (PropertyListValue{PropertyListDictionary{{"title", text("Über")}}}));
    EXPECT_EQ(value("\xEF\xBB\xBF{a = \"Ü\";}"),
              (PropertyListValue{PropertyListDictionary{{"a", text("Ü")}}}));
}

TEST(TextPropertyList, LastOfTwoEqualKeysCounts) {
    EXPECT_EQ(value("{k = first; k = second;}"),
              (PropertyListValue{PropertyListDictionary{{"k", text("second")}}}));
}

}  // namespace
}  // namespace velunor
