#include "tests/fuzz/property_list_check.h"

#include <array>
#include <cstdio>

#include "platform/property_list/property_list_forms.h"
#include "platform/text.h"
#include "tests/fuzz/fuzzing.h"

namespace velunor {
namespace {

bool isText(const std::string& text) {
    return isValidUtf8(text) && text.find('\0') == std::string::npos;
}

/// Adds the value to `out` in the old text form; false where that cannot say it.
class TextForm {
  public:
    std::string text;

    bool add(const PropertyListValue& value, std::size_t depth) {
        require(depth <= deepestPropertyList);
        if (const auto* content = value.text()) {
            addQuoted(*content);
            return true;
        }
        if (const auto* bytes = std::get_if<PropertyListData>(&value.value)) {
            addData(*bytes);
            return true;
        }
        if (const auto* elements = std::get_if<PropertyListArray>(&value.value)) {
            return addArray(*elements, depth);
        }
        const auto* members = value.dictionary();
        return members != nullptr && addDictionary(*members, depth);
    }

  private:
    void addQuoted(const std::string& content) {
        require(isText(content));
        text += '"';
        for (const char character : content) {
            text += character == '"' || character == '\\' ? "\\" : "";
            text += character;
        }
        text += '"';
    }

    void addData(const PropertyListData& bytes) {
        text += '<';
        for (const std::byte byte : bytes) {
            std::array<char, 3> digits{};
            static_cast<void>(std::snprintf(digits.data(), digits.size(), "%02x",
                                            std::to_integer<unsigned>(byte)));
            text += digits.data();
        }
        text += '>';
    }

    bool addArray(const PropertyListArray& elements, std::size_t depth) {
        bool isComplete = true;
        text += '(';
        for (const PropertyListValue& element : elements) {
            isComplete = add(element, depth + 1) && isComplete;
            text += ',';
        }
        text += ')';
        return isComplete;
    }

    bool addDictionary(const PropertyListDictionary& members, std::size_t depth) {
        bool isComplete = true;
        text += '{';
        for (const auto& [key, member] : members) {
            addQuoted(key);
            text += '=';
            isComplete = add(member, depth + 1) && isComplete;
            text += ';';
        }
        text += '}';
        return isComplete;
    }
};

}  // namespace

void checkPropertyList(const Expected<PropertyListValue>& result) {
    if (!result) {
        require(!result.error().description.empty() && isOneLine(result.error().description));
        return;
    }
    TextForm form;
    if (form.add(*result, 0)) {
        const auto again = parseTextPropertyList(form.text);
        require(again.has_value() && *again == *result);
    }
}

}  // namespace velunor
