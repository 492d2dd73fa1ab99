// A property list in XML. What is accepted as UTF-8 whatever its declaration says is UTF-8, and no
// document that defines entities is accepted.
#include "platform/property_list/property_list_forms.h"
#include "platform/text.h"
#include "tests/fuzz/fuzzing.h"
#include "tests/fuzz/property_list_check.h"

namespace velunor {

void fuzz(std::string_view input) {
    for (const auto encoding : {XmlEncoding::declared, XmlEncoding::utf8}) {
        const auto result = parseXmlPropertyList(input, encoding);
        require(!result || encoding == XmlEncoding::declared || isValidUtf8(input));
        checkPropertyList(result);
    }
}

}  // namespace velunor
