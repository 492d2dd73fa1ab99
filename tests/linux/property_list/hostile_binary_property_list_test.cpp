// Binary property lists that are refused.

#include <cstdint>
#include <string>
#include <vector>

#include "tests/linux/property_list/binary_property_list.h"
#include "tests/linux/property_list/hostile_property_list.h"

namespace velunor {
namespace {

using testing::BinaryPropertyList;

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

INSTANTIATE_TEST_SUITE_P(
    Binary, HostilePropertyList,
    ::testing::Values(
        HostileCase{"HeadAlone", "bplist00", "Binary property list is too short"},
        HostileCase{"AnotherVersion", "bplist15" + binaryArrays(3).substr(8),
                    "Binary property list is of an unknown version"},
        HostileCase{"Truncated", binaryArrays(3).substr(0, binaryArrays(3).size() - 1),
                    "Binary property list has an impossible trailer"},
        HostileCase{"TooDeep", binaryArrays(65), "Binary property list is nested too deeply"},
        HostileCase{"VeryDeep", binaryArrays(50'000), "Binary property list is nested too deeply"},
        HostileCase{"ContainsItself", binaryWithItself(), "Binary property list contains itself"},
        HostileCase{"LongerCircle", binaryWithALongerCircle(),
                    "Binary property list contains itself"},
        HostileCase{"CircleThroughAKey", binaryWithItselfAsAKey(),
                    "Binary property list contains itself"},
        HostileCase{"ReferenceBomb", binaryReferenceBomb(),
                    "Binary property list holds too many values"},
        HostileCase{"LongTextBomb", binaryLongTextBomb(),
                    "Binary property list holds too much content"},
        HostileCase{"NoObjects", binaryWithTrailer(0, 0, 10),
                    "Binary property list has an impossible trailer"},
        HostileCase{"TooManyObjects", binaryWithTrailer(UINT64_MAX, 0, 10),
                    "Binary property list has an impossible trailer"},
        HostileCase{"TopOutside", binaryWithTrailer(1, 1, 10),
                    "Binary property list has an impossible trailer"},
        HostileCase{"TableOutside", binaryWithTrailer(1, 0, 12),
                    "Binary property list has an impossible trailer"},
        HostileCase{"TableFarOutside", binaryWithTrailer(1, 0, UINT64_MAX),
                    "Binary property list has an impossible trailer"},
        HostileCase{"ElementOutside", binaryObject(std::string("\xA1\0\0\0\x09", 5)),
                    "Binary property list refers to a place outside of it"},
        HostileCase{"ImpossibleArrayLength",
                    binaryObject(std::string("\xAF\x13") + std::string(8, '\x7F')),
                    "Binary property list has an impossible length"},
        HostileCase{"ImpossibleDictionaryLength",
                    binaryObject(std::string("\xDF\x13") + std::string(8, '\xFF')),
                    "Binary property list has an impossible length"},
        HostileCase{"ImpossibleTextLength",
                    binaryObject(std::string("\x5F\x13") + std::string(8, '\xFF')),
                    "Binary property list has an impossible length"},
        HostileCase{"ImpossibleWideTextLength", binaryObject("\x6E"),
                    "Binary property list has an impossible length"},
        HostileCase{"UnknownKindOfObject", binaryObject("\x70"),
                    "Binary property list is malformed: it has a value of an unknown kind or size"},
        HostileCase{"UnknownConstant", binaryObject("\x01"),
                    "Binary property list is malformed: it has a value of an unknown kind or size"},
        HostileCase{"NumberOfAnImpossibleSize", binaryObject("\x1F"),
                    "Binary property list is malformed: it has a value of an unknown kind or size"},
        HostileCase{"NumberPastTheObjects", binaryObject("\x13\x01"),
                    "Binary property list is malformed: it has a value of an unknown kind or size"},
        HostileCase{"FractionOfAnImpossibleSize", binaryObject("\x2F"),
                    "Binary property list is malformed: it has a value of an unknown kind or size"},
        HostileCase{"FractionPastTheObjects", binaryObject("\x23\x01"),
                    "Binary property list is malformed: it has a value of an unknown kind or size"},
        HostileCase{"DatePastTheObjects", binaryObject("\x33\x01"),
                    "Binary property list is malformed: it has a value of an unknown kind or size"},
        HostileCase{"WideTextWithALoneHighSurrogate", binaryObject(std::string("\x62\xD8\0\0a", 5)),
                    "Binary property list has a text that is not valid UTF-16"},
        HostileCase{"WideTextWithALoneLowSurrogate", binaryObject(std::string("\x62\0a\xDC\0", 5)),
                    "Binary property list has a text that is not valid UTF-16"},
        HostileCase{"WideTextThatEndsInAPair", binaryObject(std::string("\x62\0a\xD8\0", 5)),
                    "Binary property list has a text that is not valid UTF-16"},
        HostileCase{"WideKeyWithALoneSurrogate", binaryKey(std::string("\x62\0a\xD8\0", 5)),
                    "Binary property list has a text that is not valid UTF-16"},
        HostileCase{"TextThatIsNotUtf8", binaryObject("\x51\xFF"),
                    "Binary property list is malformed: it has a text that is not valid UTF-8"},
        HostileCase{"TextWithANul",
                    binaryObject(std::string("\x53"
                                             "a\0b",
                                             4)),
                    "Binary property list has a text that holds a NUL character"},
        HostileCase{"KeyWithANul",
                    binaryKey(std::string("\x53"
                                          "a\0b",
                                          4)),
                    "Binary property list has a text that holds a NUL character"},
        HostileCase{"WideKeyWithANul", binaryKey(std::string("\x62\0a\0\0", 5)),
                    "Binary property list has a text that holds a NUL character"},
        HostileCase{"Set", binaryObject("\xC0"),
                    "Binary property list is malformed: it has a value of an unknown kind or size"},
        HostileCase{"WholeNumberOfThirtyTwoBytes", binaryObject("\x15" + std::string(32, '\1')),
                    "Binary property list is malformed: it has a value of an unknown kind or size"},
        HostileCase{"DateOfAnotherSize", binaryObject("\x32" + std::string(4, '\1')),
                    "Binary property list is malformed: it has a value of an unknown kind or size"},
        HostileCase{"IdentifierOfAnImpossibleSize", binaryObject("\x88" + std::string(9, '\1')),
                    "Binary property list is malformed: it has a value of an unknown kind or size"},
        HostileCase{"NestedKeyThatIsNotAText", binaryNestedForeignKeys(),
                    "Binary property list has a key that is not a text"}),
    nameOf);

}  // namespace
}  // namespace velunor
