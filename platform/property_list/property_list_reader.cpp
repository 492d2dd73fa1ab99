#include "platform/property_list/property_list_reader.h"

#include <algorithm>
#include <array>
#include <bit>
#include <string_view>

#include "platform/file.h"
#include "platform/property_list/property_list_forms.h"
#include "platform/text.h"

namespace velunor {
namespace {

/// Whether the text is XML. A lone "<" may also begin the data of the old text form.
bool isXml(std::string_view text) {
    constexpr std::array<std::string_view, 8> beginnings{"<?",     "<!",      "<plist",   "<dict",
                                                         "<array", "<string", "<integer", "<real"};
    return std::any_of(beginnings.begin(), beginnings.end(),
                       [&](std::string_view beginning) { return text.starts_with(beginning); });
}

Expected<PropertyListValue> parseText(std::string_view text, XmlEncoding encoding) {
    const auto start = std::min(text.find_first_not_of(xmlBlanks), text.size());
    return isXml(text.substr(start)) ? parseXmlPropertyList(text.substr(start), encoding)
                                     : parseTextPropertyList(text);
}

}  // namespace

Expected<PropertyListValue> PropertyListFileReader::parse(std::span<const std::byte> bytes) const {
    if (bytes.size() > largestReadableFile) {
        return Error{"Property list is too large"};
    }
    const std::string_view text(reinterpret_cast<const char*>(bytes.data()), bytes.size());
    if (text.starts_with("bplist")) {
        return parseBinaryPropertyList(text);
    }
    if (text.starts_with("\xFF\xFE") || text.starts_with("\xFE\xFF")) {
        const auto converted = utf8FromUtf16(
            text.substr(2), text.front() == '\xFE' ? std::endian::big : std::endian::little);
        return converted ? parseText(*converted, XmlEncoding::utf8)
                         : Error{"Property list is not valid UTF-16"};
    }
    if (text.starts_with("\xEF\xBB\xBF")) {
        return parseText(text.substr(3), XmlEncoding::utf8);
    }
    return parseText(text, XmlEncoding::declared);
}

}  // namespace velunor
