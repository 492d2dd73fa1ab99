#include "tests/desktops/x11_desktops.h"

#include <algorithm>
#include <map>
#include <stdexcept>
#include <utility>

namespace velunor::testing {
namespace {

using Arguments = std::vector<std::string>;

/// What makes a desktop of a window manager.
struct Parts {
    WindowManager manager;
    /// Programs beside it, the panel among them.
    std::vector<Arguments> companions{};
    /// Their settings: path below the home directory, and content.
    std::map<std::string, std::string> files{};
    /// Goes to the workspace whose number follows, where it takes no request for that.
    Arguments workspaceCommand{};
    /// Tells whether a window wants attention, where the window's properties do not.
    Arguments attentionCommand{};
};

constexpr const char* panelSettings = R"(<?xml version="1.0" encoding="UTF-8"?>
<channel name="xfce4-panel" version="1.0">
  <property name="configver" type="int" value="2"/>
  <property name="panels" type="array">
    <value type="int" value="1"/>
    <property name="panel-1" type="empty">
      <property name="position" type="string" value="p=8;x=640;y=880"/>
      <property name="length" type="uint" value="100"/>
      <property name="position-locked" type="bool" value="true"/>
      <property name="size" type="uint" value="30"/>
      <property name="plugin-ids" type="array">
        <value type="int" value="1"/>
        <value type="int" value="2"/>
      </property>
    </property>
  </property>
  <property name="plugins" type="empty">
    <property name="plugin-1" type="string" value="tasklist"/>
    <property name="plugin-2" type="string" value="clock"/>
  </property>
</channel>
)";

constexpr const char* barSettings = R"(# i3 config file (v4)
font pango:monospace 8
floating_modifier Mod1
bar {
    status_command while date +%H:%M; do sleep 30; done
}
)";

WindowManager managerOf(const std::string& name) {
    const std::vector<WindowManager> all = windowManagers();
    return *std::ranges::find(all, name, &WindowManager::name);
}

/// Whether something at an edge of the screen is a panel: long and thin.
bool isPanel(const PixelRect& place, const PixelRect& screen) {
    constexpr int thickest = 100;
    return place.width >= screen.width / 3 && place.height > 1 && place.height <= thickest &&
           (place.y <= 0 || place.y + place.height >= screen.height);
}

class X11Desktop final : public Desktop {
  public:
    X11Desktop(Session& session, const Parts& parts) : session_(session), parts_(parts) {
        session.bus();
        session.makeDisplay({.windowManager = parts.manager, .environment = session.environment()});
        session.screen().makeTwoWorkspaces();
        for (const auto& [path, content] : parts.files) {
            writeFile(session.directory() / "home" / path, content);
        }
        for (const Arguments& command : parts.companions) {
            const std::filesystem::path log = session.directory() / "companion.log";
            companions_.push_back(
                std::make_unique<ChildProcess>(Command{.arguments = command,
                                                       .environment = session.environment(),
                                                       .output = log,
                                                       .errors = log}));
        }
        if (!eventually([this] { return usableArea() != all(); })) {
            throw std::runtime_error("the panel did not start");
        }
        // Some panels come up at another size and then take their own.
        static_cast<void>(eventually([this] {
            const PixelRect before = usableArea();
            std::this_thread::sleep_for(std::chrono::milliseconds(500));
            return usableArea() == before;
        }));
    }

    PixelRect usableArea() override {
        const PixelRect screen = all();
        int top = 0;
        int bottom = screen.height;
        for (const PixelRect& place : session_.screen().placesOnScreen()) {
            if (isPanel(place, screen)) {
                (place.y <= 0 ? top : bottom) = place.y <= 0 ? place.y + place.height : place.y;
            }
        }
        return {0, top, screen.width, bottom - top};
    }
    std::optional<PixelRect> cardPlace() override {
        const auto window = card();
        return window ? std::optional(session_.screen().frameOf(*window)) : std::nullopt;
    }
    std::optional<PixelRect> contentPlace() override {
        const auto window = card();
        return window ? std::optional(session_.screen().contentOf(*window)) : std::nullopt;
    }
    bool goToWorkspace(int number) override {
        if (parts_.workspaceCommand.empty()) {
            return session_.screen().goToWorkspace(number - 1);
        }
        Arguments command = parts_.workspaceCommand;
        command.push_back(std::to_string(number));
        return session_.succeeds(command);
    }
    bool minimize() override {
        const auto window = card();
        if (window) {
            session_.screen().minimize(*window);
        }
        return window.has_value();
    }
    bool requestClose() override {
        const auto window = card();
        if (window) {
            session_.screen().requestClose(*window);
        }
        return window.has_value();
    }
    bool demandsAttention() override {
        if (!parts_.attentionCommand.empty()) {
            return session_.succeeds(parts_.attentionCommand);
        }
        const auto window = card();
        return window && session_.screen().demandsAttention(*window);
    }

  private:
    [[nodiscard]] static PixelRect all() { return {0, 0, Display::width, Display::height}; }
    [[nodiscard]] std::optional<WindowId> card() {
        return session_.screen().unlistedWindowOf(session_.process().id());
    }

    Session& session_;
    Parts parts_;
    std::vector<std::unique_ptr<ChildProcess>> companions_;
};

DesktopKind kind(const std::string& panel, std::vector<std::string> packages, const Parts& parts) {
    return {.name = parts.manager.name,
            .panel = panel,
            .system = "X11",
            .packages = std::move(packages),
            .start = [parts](Session& session) {
                return std::make_unique<X11Desktop>(session, parts);
            }};
}

}  // namespace

std::vector<DesktopKind> x11Desktops() {
    const Arguments ground{"xsetroot", "-solid", "#5a6b7b"};
    const std::vector<Arguments> tint2{ground, {"tint2"}};
    WindowManager i3 = managerOf("i3");
    i3.files.begin()->second = barSettings;
    return {
        kind("xfce4-panel", {"xfwm4", "xfce4-panel", "xfconf"},
             {.manager = managerOf("xfwm4"),
              .companions = {ground,
                             {"sh", "-c", "exec /usr/lib/*/xfce4/xfconf/xfconfd"},
                             {"xfce4-panel", "--disable-wm-check"}},
              .files = {{".config/xfce4/xfconf/xfce-perchannel-xml/xfce4-panel.xml",
                         panelSettings}}}),
        kind("tint2", {"kwin-x11", "tint2"},
             {.manager = managerOf("kwin_x11"), .companions = tint2}),
        kind("tint2", {"metacity", "tint2"},
             {.manager = managerOf("metacity"), .companions = tint2}),
        kind("i3bar", {"i3-wm"},
             {.manager = i3,
              .companions = {ground},
              .workspaceCommand = {"i3-msg", "workspace"},
              .attentionCommand = {"sh", "-c", "i3-msg -t get_tree | grep -q '\"urgent\":true'"}}),
        kind("wibar", {"awesome"}, {.manager = managerOf("awesome")}),
        kind("toolbar", {"fluxbox"}, {.manager = managerOf("fluxbox"), .companions = {ground}}),
        kind("taskbar", {"icewm"}, {.manager = managerOf("icewm"), .companions = {ground}}),
        kind("tint2", {"openbox", "tint2"}, {.manager = openbox(), .companions = tint2}),
    };
}

}  // namespace velunor::testing
