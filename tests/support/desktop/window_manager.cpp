#include "tests/support/desktop/window_manager.h"

namespace velunor::testing {

WindowManager openbox() {
    return {.name = "openbox", .command = {"openbox", "--sm-disable"}};
}

std::vector<WindowManager> windowManagers() {
    return {
        {.name = "awesome", .command = {"awesome"}},
        {.name = "fluxbox", .command = {"fluxbox"}},
        {.name = "icewm", .command = {"icewm"}},
        // Without settings it asks for some first.
        {.name = "i3",
         .command = {"i3"},
         .files = {{".config/i3/config", "font pango:monospace 8\nfloating_modifier Mod1\n"}}},
        {.name = "kwin_x11", .command = {"kwin_x11"}},
        {.name = "metacity", .command = {"metacity", "--sm-disable"}},
        openbox(),
        {.name = "xfwm4", .command = {"xfwm4"}},
    };
}

}  // namespace velunor::testing
