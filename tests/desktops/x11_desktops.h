#pragma once

#include <vector>

#include "tests/desktops/desktop.h"

namespace velunor::testing {

/// The window managers for X11 that are tried, each with a panel.
[[nodiscard]] std::vector<DesktopKind> x11Desktops();

}  // namespace velunor::testing
