#include "tests/desktops/limits.h"

#include <algorithm>
#include <vector>

namespace velunor::testing {
namespace {

constexpr const char* takesKeyboard =
    "the desktop gives the prompt the keyboard, and the keys do nothing there";
constexpr const char* putAnywhere = "where the desktop puts new windows";
constexpr const char* unheard = "the desktop does not hear of it";
constexpr const char* covered = "covered by the window at work";
constexpr const char* oneWorkspace = "on the one where it came up";
constexpr const char* staysAway = "it stays away";
constexpr const char* unsaid = "behind it, and nothing says so";

const std::vector<Limit>& limits() {
    static const std::vector<Limit> all{
        {{"sway", "sway-xwayland"},
         "Typing elsewhere",
         takesKeyboard,
         "Sway gives each new window the keyboard, whatever that asks for, unless a rule says no."},
        {{"weston", "weston-xwayland", "kwin_wayland", "gnome-shell"},
         "Typing elsewhere",
         takesKeyboard,
         "A Wayland compositor may give a new window the keyboard, and there is no request that "
         "declines it."},
        {{"sway", "sway-xwayland"},
         "Place",
         "in the middle of the work",
         "Sway puts floating windows into the middle, those of an X server inside too, unless a "
         "rule says where."},
        {{"weston", "kwin_wayland", "gnome-shell"},
         "Place",
         putAnywhere,
         "On Wayland the compositor alone places ordinary windows."},
        {{"weston-xwayland"},
         "Place",
         "in the corner of the whole screen",
         "Weston tells the X server inside nothing of its panel."},
        {{"metacity", "gnome-shell-xwayland"},
         "Attention",
         unheard,
         "Metacity and Mutter mark a window that asks for attention only where another one covers "
         "it."},
        {{"sway", "sway-rule", "weston", "kwin_wayland", "gnome-shell"},
         "Attention",
         unheard,
         "Qt has no request for attention on Wayland."},
        {{"sway-xwayland", "sway-rule-xwayland", "weston-xwayland"},
         "Attention",
         unheard,
         "Sway and Weston do not take the request for attention that Qt makes on X11."},
        {{"weston", "weston-xwayland", "kwin_wayland", "gnome-shell"},
         "Above other windows",
         covered,
         "Wayland has no request to stay above other windows, and Weston does not take that of an "
         "X11 window either."},
        {{"sway", "sway-xwayland"},
         "Every workspace",
         oneWorkspace,
         "Sway shows a window on every workspace only where a rule says so."},
        {{"kwin_wayland", "gnome-shell"},
         "Every workspace",
         oneWorkspace,
         "Wayland has no request to be on every workspace."},
        {{"weston", "weston-xwayland"},
         "Every workspace",
         "the desktop has one workspace only",
         "Weston has one workspace."},
        {{"weston", "weston-xwayland"},
         "Full screen",
         unsaid,
         "Weston does not tell a window that another one covers it."},
        {{"kwin_wayland-xwayland"},
         "Full screen",
         unsaid,
         "The X server inside KWin hears nothing of the Wayland windows that cover its own."},
        {{"sway", "sway-xwayland", "sway-rule", "sway-rule-xwayland"},
         "Minimised",
         "the desktop has no way to minimise it",
         "Sway has no minimised windows."},
        {{"weston", "weston-xwayland"},
         "Minimised",
         "the desktop has no way to minimise it",
         "Weston has no list of windows, and minimises one by its title bar alone."},
        {{"kwin_wayland", "gnome-shell"},
         "Minimised",
         staysAway,
         "Wayland does not tell a window that it was minimised."},
        {{"weston", "weston-xwayland"},
         "Closing",
         "the desktop has no way to close it",
         "Weston has no list of windows, and closes one by its title bar alone."}};
    return all;
}

}  // namespace

std::optional<Limit> limitOf(const std::string& desktop, const std::string& row) {
    const auto found = std::ranges::find_if(limits(), [&](const Limit& limit) {
        return limit.row == row &&
               std::ranges::find(limit.desktops, desktop) != limit.desktops.end();
    });
    return found == limits().end() ? std::nullopt : std::optional(*found);
}

}  // namespace velunor::testing
