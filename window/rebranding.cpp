#include "platform/file.h"
#include "window/view_controller.h"

namespace velunor {
namespace {

Expected<Rebrand> readRebrand(const std::string& path, const PropertyListReader& propertyLists) {
    const auto bytes = readWholeFile(path);
    if (!bytes) {
        return bytes.error();
    }
    const auto root = propertyLists.parse(*bytes);
    if (!root) {
        return root.error();
    }
    return decodeRebrand(*root);
}

}  // namespace

std::optional<Rebrand> ViewController::getRebrandDetails() {
    const std::string path = globals_.dataPath + "/rebrand.plist";
    if (!fileExists(path)) {
        return std::nullopt;
    }
    auto rebrand = readRebrand(path, services_.propertyLists);
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
