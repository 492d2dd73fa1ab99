#pragma once

#include <string_view>

#include "platform/expected.h"
#include "platform/property_list.h"

namespace velunor {

/// How the bytes of an XML document are to be read.
enum class XmlEncoding {
    /// As its declaration says (UTF-8, ISO-8859-1 or US-ASCII), without one as UTF-8.
    declared,
    /// As UTF-8 whatever the declaration says, because the text has been converted.
    utf8
};

/// Parses an XML property list, strictly: every tag, key and leaf must be what it claims to be. A
/// document type of its own, which could define entities that grow without end, is refused. The
/// text is at most as large as a file that can be read. Any thread.
[[nodiscard]] Expected<PropertyListValue> parseXmlPropertyList(std::string_view text,
                                                               XmlEncoding encoding);

}  // namespace velunor
