#include "platform/file.h"
#include "window/view_controller.h"

namespace velunor {
namespace {

/// Puts the text under `key` into the label, where there is one; another type is passed over.
void customize(const PropertyListDictionary& texts, std::string_view key, std::string_view prefix,
               const WeakReference<Label>& label, SystemLog& log) {
    const auto member = texts.find(key);
    const std::string* text = member == texts.end() ? nullptr : member->second.text();
    if (text == nullptr) {
        return;
    }
    log.write(std::string(prefix) + *text);
    label->setStringValue(*text);
}

}  // namespace

void ViewController::setCustomizedText() {
    const std::string path = globals_.dataPath + "/AutoRebootMessages.plist";
    if (!fileExists(path)) {
        services_.log.write("AutoRebootMessages File not available");
        return;
    }
    const auto bytes = readWholeFile(path);
    if (!bytes) {
        services_.log.write("Error " + path + " " + bytes.error().description);
        return;
    }
    const auto root = services_.propertyLists.parse(*bytes);
    if (!root) {
        services_.log.write("Error " + path + " " + root.error().description);
        return;
    }
    const PropertyListDictionary* texts = root->dictionary();
    if (texts == nullptr) {
        services_.log.write("AutoRebootMessages Not able to get data");
        return;
    }
    customize(*texts, "title", "Changed Title: ", outlets().titleLabel, services_.log);
    customize(*texts, "info", "Changed Info: ", outlets().messageLabel, services_.log);
}

}  // namespace velunor
