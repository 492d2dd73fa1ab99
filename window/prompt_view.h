#pragma once

#include <vector>

#include "platform/controls.h"
#include "platform/desktop.h"
#include "window/outlets.h"

namespace velunor {

/// What the window's form gives the controller beside the outlets. All pointers are owned by the
/// form's view hierarchy. Main thread only.
struct PromptView {
    Outlets outlets;
    /// The constraints of the root view, in their order.
    std::vector<LayoutConstraint*> constraints;
    /// The window that shows the view; null while there is none.
    Window* window = nullptr;
};

}  // namespace velunor
