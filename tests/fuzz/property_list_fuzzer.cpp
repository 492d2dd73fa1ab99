// A property list of any form and encoding, as a file brings it.
#include "platform/property_list/property_list_reader.h"
#include "tests/fuzz/fuzzing.h"
#include "tests/fuzz/property_list_check.h"

namespace velunor {

void fuzz(std::string_view input) {
    checkPropertyList(PropertyListFileReader().parse(std::as_bytes(std::span(input))));
}

}  // namespace velunor
