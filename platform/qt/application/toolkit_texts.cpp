#include "platform/qt/application/toolkit_texts.h"

#include <QCoreApplication>
#include <QLibraryInfo>

namespace velunor {

std::unique_ptr<QTranslator> useToolkitTexts(const std::vector<std::string>& languages) {
    auto catalogue = std::make_unique<QTranslator>();
    for (const std::string& language : languages) {
        if (catalogue->load("qtbase_" + QString::fromStdString(language),
                            QLibraryInfo::path(QLibraryInfo::TranslationsPath))) {
            QCoreApplication::installTranslator(catalogue.get());
            return catalogue;
        }
    }
    return nullptr;
}

}  // namespace velunor
