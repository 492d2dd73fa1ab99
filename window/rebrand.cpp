#include "window/rebrand.h"

#include <string_view>

namespace velunor {
namespace {

/// Puts the text under `key` into `field`; false when the key holds another type.
bool decodeField(const PropertyListDictionary& dictionary, std::string_view key,
                 std::optional<std::string>& field) {
    const auto member = dictionary.find(key);
    if (member == dictionary.end()) {
        return true;
    }
    const std::string* text = member->second.text();
    if (text != nullptr) {
        field = *text;
    }
    return text != nullptr;
}

}  // namespace

Expected<Rebrand> decodeRebrand(const PropertyListValue& root) {
    const PropertyListDictionary* dictionary = root.dictionary();
    if (dictionary == nullptr) {
        return Error{"The top level is not a dictionary with text keys"};
    }
    Rebrand rebrand;
    if (!decodeField(*dictionary, "IS_REBRANDED", rebrand.isRebranded)) {
        return Error{"The value of \"IS_REBRANDED\" is not a text"};
    }
    if (!decodeField(*dictionary, "PRODUCT_NAME", rebrand.productName)) {
        return Error{"The value of \"PRODUCT_NAME\" is not a text"};
    }
    return rebrand;
}

}  // namespace velunor
