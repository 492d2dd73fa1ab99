#include "tests/desktops/wayland_desktops.h"

#include <utility>

namespace velunor::testing {
namespace {

using Start = std::unique_ptr<Desktop> (*)(Session&, const CompositorSetup&);

DesktopKind kind(const std::string& name, const std::string& panel,
                 std::vector<std::string> packages, Start start, const CompositorSetup& setup) {
    if (setup.withXServer) {
        packages.emplace_back("xwayland");
    }
    return {.name = name,
            .panel = panel,
            .system = "Wayland",
            .packages = std::move(packages),
            .start = [start, setup](Session& session) { return start(session, setup); }};
}

// What docs/desktops.md recommends. The place is that of this screen and this card.
constexpr const char* swayRule = R"(
no_focus [app_id="velunor-os-update"]
for_window [app_id="velunor-os-update"] floating enable, border none, sticky enable, \
    move absolute position 830 343
no_focus [class="VelunorOSUpdate"]
for_window [class="VelunorOSUpdate"] floating enable, border none, sticky enable, \
    move absolute position 830 343
)";

}  // namespace

std::vector<DesktopKind> waylandDesktops() {
    const std::vector<std::string> sway{"sway", "swaybg"};
    return {
        kind("sway", "swaybar", sway, startSway, {}),
        kind("sway-xwayland", "swaybar", sway, startSway, {.withXServer = true}),
        kind("sway-rule", "swaybar", sway, startSway, {.settings = swayRule}),
        kind("sway-rule-xwayland", "swaybar", sway, startSway,
             {.withXServer = true, .settings = swayRule}),
        kind("weston", "its panel", {"weston"}, startWeston, {}),
        kind("weston-xwayland", "its panel", {"weston"}, startWeston, {.withXServer = true}),
        kind("kwin_wayland", "", {"kwin-wayland"}, startKwin, {}),
        kind("kwin_wayland-xwayland", "", {"kwin-wayland"}, startKwin, {.withXServer = true}),
        kind("gnome-shell", "its bar", {"gnome-shell"}, startGnomeShell, {}),
        kind("gnome-shell-xwayland", "its bar", {"gnome-shell"}, startGnomeShell,
             {.withXServer = true}),
    };
}

}  // namespace velunor::testing
