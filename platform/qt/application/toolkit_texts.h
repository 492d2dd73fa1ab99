#pragma once

#include <QTranslator>
#include <memory>
#include <string>
#include <vector>

namespace velunor {

/// Has the toolkit's own texts, such as those of a field's menu, in the first of `languages` (such
/// as "pt_BR") that it has a catalogue for, as long as the result lives. Null where it has none, or
/// its catalogues are not installed: the texts are English then. Main thread only, with an
/// application object.
[[nodiscard]] std::unique_ptr<QTranslator> useToolkitTexts(
    const std::vector<std::string>& languages);

}  // namespace velunor
