#pragma once

#include "platform/property_list.h"

namespace velunor {

/// Reads XML and binary property lists with libplist, behind checks of their structure, and the old
/// text form with a parser of its own. Holds no state; any thread.
class LinuxPropertyListReader : public PropertyListReader {
  public:
    [[nodiscard]] Expected<PropertyListValue> parse(
        std::span<const std::byte> bytes) const override;
};

}  // namespace velunor
