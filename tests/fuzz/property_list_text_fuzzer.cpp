// A property list in the old text form, which is UTF-8 if it is accepted.
#include "platform/property_list/property_list_forms.h"
#include "platform/text.h"
#include "tests/fuzz/fuzzing.h"
#include "tests/fuzz/property_list_check.h"

namespace velunor {

void fuzz(std::string_view input) {
    const auto result = parseTextPropertyList(input);
    require(!result || isValidUtf8(input));
    checkPropertyList(result);
}

}  // namespace velunor
