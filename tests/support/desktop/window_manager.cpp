#include "tests/support/desktop/window_manager.h"

namespace velunor::testing {

WindowManager openbox() {
    return {.name = "openbox", .command = {"openbox", "--sm-disable"}};
}

std::vector<WindowManager> windowManagers() {
    return {
        {.name = "awesome", .command = {"awesome"}},
        // Without a program that could show its wallpaper it opens a window that says so, and gives
        // the focus to any other once that is gone.
        {.name = "fluxbox",
         .command = {"fluxbox"},
         .files = {{".fluxbox/overlay", "background: none\n"}}},
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
