#pragma once

#include <vector>

#include "tests/desktops/desktop.h"

namespace velunor::testing {

/// The compositors that are tried, each with and without an X server inside.
[[nodiscard]] std::vector<DesktopKind> waylandDesktops();

/// How a compositor is tried.
struct CompositorSetup {
    bool withXServer = false;
    /// Further lines of its settings.
    std::string settings{};
};

[[nodiscard]] std::unique_ptr<Desktop> startSway(Session& session, const CompositorSetup& setup);
[[nodiscard]] std::unique_ptr<Desktop> startWeston(Session& session, const CompositorSetup& setup);
[[nodiscard]] std::unique_ptr<Desktop> startKwin(Session& session, const CompositorSetup& setup);
[[nodiscard]] std::unique_ptr<Desktop> startGnomeShell(Session& session,
                                                       const CompositorSetup& setup);

}  // namespace velunor::testing
