#pragma once

#include <QWidget>
#include <memory>
#include <vector>

#include "window/prompt_view.h"

namespace velunor {

/// Connects every outlet of `view` to the object of its name in `form`, and collects the form's
/// constraints. The controls that come back are what the outlets refer to; keep them as long as
/// `form`. Main thread only.
[[nodiscard]] std::vector<std::unique_ptr<View>> connectOutlets(const QWidget& form,
                                                                PromptView& view);

}  // namespace velunor
