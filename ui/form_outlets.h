#pragma once

#include <QWidget>
#include <memory>
#include <vector>

#include "window/prompt_view.h"

namespace velunor {

/// Connects every outlet of `view` to the object of its name in `form`, and collects the form's
/// constraints. `controls` owns the adapters that the outlets refer to.
void connectOutlets(QWidget& form, PromptView& view, std::vector<std::shared_ptr<void>>& controls);

}  // namespace velunor
