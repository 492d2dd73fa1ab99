#include <regex>
#include <stdexcept>

#include "tests/desktops/nested_desktop.h"
#include "tests/desktops/wayland_desktops.h"

namespace velunor::testing {
namespace {

class WestonDesktop final : public NestedDesktop {
  public:
    WestonDesktop(Session& session, const CompositorSetup& setup) : NestedDesktop(session) {
        const std::filesystem::path settings = session.directory() / "weston.ini";
        const std::string socket = "wayland-desktop";
        writeFile(settings, std::string("[shell]\npanel-position=bottom\nbackground-color=0xff") +
                                groundName + "\nlocking=false\nanimation=none\n" +
                                "startup-animation=none\n");
        std::vector<std::string> command{"weston",
                                         "--backend=x11-backend.so",
                                         "--use-pixman",
                                         "--width=1280",
                                         "--height=900",
                                         "--idle-time=0",
                                         "--socket=" + socket,
                                         "--config=" + settings.string()};
        if (setup.withXServer) {
            command.emplace_back("--xwayland");
        }
        startProgram(command);
        const std::filesystem::path runtime = session.environment()["XDG_RUNTIME_DIR"];
        std::smatch found;
        std::string text;
        const bool up = eventually([&] {
            text = readFile(log());
            return std::filesystem::exists(runtime / socket) &&
                   (!setup.withXServer ||
                    std::regex_search(text, found,
                                      std::regex(R"(xserver listening on display (:\d+))")));
        });
        if (!up) {
            throw std::runtime_error("the compositor did not start: " + text);
        }
        settleAt(runtime / socket, setup.withXServer ? found[1].str() : "");
        measureUsableArea();
        waitForPointer();
    }

    bool goToWorkspace(int /*number*/) override { return false; }
    bool minimize() override { return false; }
    bool requestClose() override { return false; }
    bool demandsAttention() override { return false; }
};

}  // namespace

std::unique_ptr<Desktop> startWeston(Session& session, const CompositorSetup& setup) {
    return std::make_unique<WestonDesktop>(session, setup);
}

}  // namespace velunor::testing
