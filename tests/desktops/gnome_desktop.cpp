#include <stdexcept>

#include "tests/desktops/nested_desktop.h"
#include "tests/desktops/wayland_desktops.h"
#include "tests/support/prompt/transcript.h"

namespace velunor::testing {
namespace {

constexpr const char* settings = R"([org/gnome/desktop/background]
picture-options='none'
primary-color='#%s'
color-shading-type='solid'
[org/gnome/desktop/interface]
enable-animations=false
[org/gnome/desktop/wm/preferences]
num-workspaces=2
[org/gnome/mutter]
dynamic-workspaces=false
[org/gnome/shell]
welcome-dialog-last-shown-version='999'
)";

/// Is asked and told by the scripts that it runs in its unsafe mode.
class GnomeDesktop final : public NestedDesktop {
  public:
    GnomeDesktop(Session& session, const CompositorSetup& setup) : NestedDesktop(session) {
        const std::filesystem::path home = session.environment()["HOME"];
        const std::string socket = "wayland-desktop";
        writeFile(home / ".config/glib-2.0/settings/keyfile", replaced(settings, "%s", groundName));
        std::vector<std::string> command{"gnome-shell", "--nested", "--wayland", "--unsafe-mode",
                                         "--wayland-display=" + socket};
        if (!setup.withXServer) {
            command.emplace_back("--no-x11");
        }
        startProgram(command, {{"GSETTINGS_BACKEND", "keyfile"},
                               {"DBUS_SYSTEM_BUS_ADDRESS", systemBus_.address()},
                               {"MUTTER_DEBUG_DUMMY_MODE_SPECS", "1280x900"}});
        bus_ = connectToBus(session.bus().address());
        // It opens the overview of windows once it is up.
        if (!eventually([this] {
                return ask("Main.layoutManager._startingUp") == "false" &&
                       tell("Main.overview.hide();") && ask("Main.overview.visible") == "false";
            })) {
            throw std::runtime_error("the desktop did not start: " + readFile(log()));
        }
        const std::filesystem::path runtime = session.environment()["XDG_RUNTIME_DIR"];
        settleAt(runtime / socket,
                 setup.withXServer ? ask("imports.gi.GLib.getenv('DISPLAY')") : "");
        if (setup.withXServer) {
            session.environment()["XAUTHORITY"] = ask("imports.gi.GLib.getenv('XAUTHORITY')");
        }
        measureUsableArea();
    }

    bool goToWorkspace(int number) override {
        return tell("global.workspace_manager.get_workspace_by_index(" +
                    std::to_string(number - 1) + ").activate(global.get_current_time());");
    }
    bool minimize() override { return tell(card() + ".minimize();"); }
    void bringBack() override { static_cast<void>(tell(card() + ".unminimize();")); }
    bool requestClose() override { return tell(card() + ".delete(global.get_current_time());"); }
    bool demandsAttention() override { return ask(card() + ".demands_attention") == "true"; }

  private:
    [[nodiscard]] std::string card() {
        return "global.get_window_actors().map(actor => actor.meta_window)"
               ".find(window => window.get_pid() === " +
               prompt() + ")";
    }
    bool tell(const std::string& script) { return !ask(script + " 'done'").empty(); }

    /// What a script gives, without quotation marks; empty where it fails.
    [[nodiscard]] std::string ask(const std::string& script) {
        sd_bus_message* message = nullptr;
        sd_bus_call_method(bus_.get(), "org.gnome.Shell", "/org/gnome/Shell", "org.gnome.Shell",
                           "Eval", nullptr, &message, "s", script.c_str());
        const BusMessage reply(message);
        int succeeded = 0;
        const char* result = nullptr;
        if (reply == nullptr || sd_bus_message_read(reply.get(), "bs", &succeeded, &result) <= 0 ||
            succeeded == 0) {
            return {};
        }
        return replaced(result, "\"", "");
    }

    /// It asks the login manager at its start, and goes without one where the bus is there.
    PrivateBus systemBus_;
    BusConnection bus_;
};

}  // namespace

std::unique_ptr<Desktop> startGnomeShell(Session& session, const CompositorSetup& setup) {
    return std::make_unique<GnomeDesktop>(session, setup);
}

}  // namespace velunor::testing
