// A binary property list, whatever its offsets and lengths say.
#include "platform/property_list/property_list_forms.h"
#include "tests/fuzz/fuzzing.h"
#include "tests/fuzz/property_list_check.h"

namespace velunor {

void fuzz(std::string_view input) {
    checkPropertyList(parseBinaryPropertyList(input));
}

}  // namespace velunor
