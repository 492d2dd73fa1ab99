#include "platform/file.h"
#include "window/view_controller.h"

namespace velunor {
namespace {

Expected<PropertyListValue> readPropertyList(const std::string& path,
                                             const PropertyListReader& reader) {
    const auto bytes = readWholeFile(path);
    if (!bytes) {
        return bytes.error();
    }
    return reader.parse(*bytes);
}

/// The text under `key`, none when the key is absent; a value of another type is an error.
Expected<std::optional<std::string>> textUnder(const PropertyListDictionary& dictionary,
                                               std::string_view key) {
    const auto member = dictionary.find(key);
    if (member == dictionary.end()) {
        return std::optional<std::string>();
    }
    const std::string* text = member->second.text();
    if (text == nullptr) {
        return Error{"The value of \"" + std::string(key) + "\" is not a text"};
    }
    return std::optional(*text);
}

/// Missing keys are absent fields; one of another type than text fails the whole record.
Expected<Rebrand> decodeRebrand(const PropertyListValue& root) {
    const PropertyListDictionary* dictionary = root.dictionary();
    if (dictionary == nullptr) {
        return Error{"The top level is not a dictionary with text keys"};
    }
    const auto isRebranded = textUnder(*dictionary, "IS_REBRANDED");
    if (!isRebranded) {
        return isRebranded.error();
    }
    const auto productName = textUnder(*dictionary, "PRODUCT_NAME");
    if (!productName) {
        return productName.error();
    }
    return Rebrand{*isRebranded, *productName};
}

}  // namespace

void ViewController::setCustomizedText() {
    const std::string path = globals_.dataPath + "/AutoRebootMessages.plist";
    if (!fileExists(path)) {
        services_.log.write("AutoRebootMessages File not available");
        return;
    }
    const auto root = readPropertyList(path, services_.propertyLists);
    if (!root) {
        services_.log.write("Error " + path + " " + root.error().description);
        return;
    }
    const PropertyListDictionary* texts = root->dictionary();
    if (texts == nullptr) {
        services_.log.write("AutoRebootMessages Not able to get data");
        return;
    }
    const auto customize = [&](const char* key, const char* prefix,
                               const WeakReference<Label>& label) {
        // Another type is passed over.
        if (const auto text = textUnder(*texts, key); text && *text) {
            services_.log.write(prefix + **text);
            label->setStringValue(**text);
        }
    };
    customize("title", "Changed Title: ", outlets().titleLabel);
    customize("info", "Changed Info: ", outlets().messageLabel);
}

std::optional<Rebrand> ViewController::getRebrandDetails() {
    const std::string path = globals_.dataPath + "/rebrand.plist";
    if (!fileExists(path)) {
        return std::nullopt;
    }
    const auto root = readPropertyList(path, services_.propertyLists);
    auto rebrand = root ? decodeRebrand(*root) : root.error();
    if (!rebrand) {
        services_.log.write("rebrandData error " + rebrand.error().description);
        return std::nullopt;
    }
    return *std::move(rebrand);
}

void ViewController::processRebranding() {
    const auto rebrand = getRebrandDetails();
    if (!rebrand) {
        services_.log.write("No rebrand file found");
        return;
    }
    if (rebrand->isRebranded != "TRUE") {
        services_.log.write("Not Rebranded");
        return;
    }
    services_.log.write("Product Rebranded");
    if (rebrand->productName) {
        services_.log.write("Setting Rebranded Name: " + *rebrand->productName);
        outlets().productNameLabel->setStringValue(*rebrand->productName);
    } else {
        services_.log.write("No Rebrand product name found");
    }
    applyRebrandedLogo();
}

void ViewController::applyRebrandedLogo() {
    const std::string path = globals_.basePath + "/images/rebranded-agent-logo.png";
    if (!fileExists(path)) {
        services_.log.write("App icon not rebranded");
        return;
    }
    services_.log.write("App icon set to rebranded");
    const ImagePointer logo = services_.images.imageFromFile(path);
    if (!logo) {
        return;
    }
    outlets().appIcon->setImage(logo);
    services_.application->setApplicationIconImage(logo);
}

}  // namespace velunor
