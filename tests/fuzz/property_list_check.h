#pragma once

#include <string>

#include "platform/expected.h"
#include "platform/property_list.h"

namespace velunor {

/// What every reader of a property list promises: an error is one line of text; texts are UTF-8
/// without NUL, the nesting is limited, and what the old text form can say too reads back from
/// there to the same value.
void checkPropertyList(const Expected<PropertyListValue>& result);

}  // namespace velunor
