#include <unistd.h>

#include <stdexcept>

#include "tests/desktops/nested_desktop.h"
#include "tests/desktops/wayland_desktops.h"

namespace velunor::testing {
namespace {

class SwayDesktop final : public NestedDesktop {
  public:
    SwayDesktop(Session& session, const CompositorSetup& setup) : NestedDesktop(session) {
        const std::filesystem::path runtime = session.directory() / "sway";
        const std::filesystem::path ready = runtime / "ready";
        writeFile(runtime / "config",
                  std::string("output X11-1 resolution 1280x900\noutput * bg #") + groundName +
                      " solid_color\n" + "bar {\n  position bottom\n" +
                      "  status_command while date +%H:%M; do sleep 30; done\n}\n" + "xwayland " +
                      (setup.withXServer ? "force" : "disable") + "\n" + setup.settings +
                      "exec echo \"$WAYLAND_DISPLAY $DISPLAY\" >" + ready.string() + "\n");
        std::vector<std::string> command{"sway", "--config", runtime / "config"};
        if (::geteuid() == 0) {
            giveAway(runtime);
            command.insert(command.begin(),
                           {"setpriv", "--reuid=nobody", "--regid=nogroup", "--clear-groups"});
        }
        startProgram(command, {{"WLR_BACKENDS", "x11"},
                               {"WLR_RENDERER", "pixman"},
                               {"XDG_RUNTIME_DIR", runtime.string()}});
        const std::string names = firstLineOf(ready);
        const std::size_t end = names.find(' ');
        settleAt(runtime / names.substr(0, end), setup.withXServer ? names.substr(end + 1) : "");
        for (const auto& file : std::filesystem::directory_iterator(runtime)) {
            if (file.path().filename().string().starts_with("sway-ipc.")) {
                session.environment()["SWAYSOCK"] = file.path();
            }
        }
        measureUsableArea();
    }

    bool goToWorkspace(int number) override {
        return tell("workspace number " + std::to_string(number));
    }
    bool minimize() override { return false; }
    bool requestClose() override { return tell("[pid=" + prompt() + "] kill"); }
    bool demandsAttention() override {
        return session().succeeds(
            {"sh", "-c", R"(swaymsg -t get_tree | grep -q '"urgent": *true')"});
    }

  private:
    bool tell(const std::string& command) { return session().succeeds({"swaymsg", command}); }

    /// It refuses to run as root.
    void giveAway(const std::filesystem::path& runtime) {
        std::filesystem::permissions(session().directory(), std::filesystem::perms::others_exec,
                                     std::filesystem::perm_options::add);
        std::filesystem::permissions(runtime, std::filesystem::perms::owner_all);
        if (!session().succeeds({"chown", "-R", "nobody:nogroup", runtime})) {
            throw std::runtime_error("the compositor's files cannot be given away");
        }
    }
};

}  // namespace

std::unique_ptr<Desktop> startSway(Session& session, const CompositorSetup& setup) {
    return std::make_unique<SwayDesktop>(session, setup);
}

}  // namespace velunor::testing
