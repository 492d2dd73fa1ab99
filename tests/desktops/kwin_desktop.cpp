#include <stdexcept>

#include "tests/desktops/nested_desktop.h"
#include "tests/desktops/wayland_desktops.h"

namespace velunor::testing {
namespace {

/// Is asked and told by scripts that it runs.
class KwinDesktop final : public NestedDesktop {
  public:
    KwinDesktop(Session& session, const CompositorSetup& setup) : NestedDesktop(session) {
        const std::filesystem::path home = session.environment()["HOME"];
        const std::filesystem::path own = session.directory() / "kwin_wayland";
        const std::filesystem::path ready = session.directory() / "ready";
        writeFile(home / ".config/kwinrc", "[Desktops]\nNumber=2\nRows=1\n");
        // Its file has a capability that not every container can give.
        std::filesystem::copy_file("/usr/bin/kwin_wayland", own);
        std::vector<std::string> command{
            own,       "--x11-display",  session.environment()["DISPLAY"],
            "--width", "1280",           "--height",
            "900",     "--no-lockscreen"};
        if (setup.withXServer) {
            command.emplace_back("--xwayland");
        }
        writeFile(session.directory() / "ready.sh",
                  "#!/bin/sh\necho \"$WAYLAND_DISPLAY $DISPLAY\" >" + ready.string() +
                      "\necho \"$XAUTHORITY\" >" + ready.string() + ".authority\n" +
                      "exec swaybg -c '#" + groundName + "'\n");
        std::filesystem::permissions(session.directory() / "ready.sh",
                                     std::filesystem::perms::owner_all);
        command.push_back(session.directory() / "ready.sh");
        startProgram(command, {{"KWIN_COMPOSE", "Q"},
                               {"QT_LOGGING_RULES", "kwin_scripting.debug=true;js.debug=true"}});
        const std::string names = firstLineOf(ready);
        const std::string authority = firstLineOf(ready.string() + ".authority");
        const std::size_t end = names.find(' ');
        const std::filesystem::path runtime = session.environment()["XDG_RUNTIME_DIR"];
        settleAt(runtime / names.substr(0, end), setup.withXServer ? names.substr(end + 1) : "");
        if (setup.withXServer && !authority.empty()) {
            session.environment()["XAUTHORITY"] = authority;
        }
        measureUsableArea();
    }

    bool goToWorkspace(int number) override {
        return tell("workspace.currentDesktop = " + std::to_string(number) + ";");
    }
    bool minimize() override { return tellOfPrompt("client.minimized = true;"); }
    void bringBack() override { static_cast<void>(tellOfPrompt("client.minimized = false;")); }
    bool requestClose() override { return tellOfPrompt("client.closeWindow();"); }
    bool demandsAttention() override {
        return tellOfPrompt("print(client.demandsAttention ? 'wants-attention' : 'is-calm');") &&
               lastOf({"wants-attention", "is-calm"}) == "wants-attention";
    }

  private:
    bool tellOfPrompt(const std::string& what) {
        return tell("workspace.clientList().forEach(function (client) { if (client.pid == " +
                    prompt() + ") { " + what + " } });");
    }

    /// Runs a script; whether it came to its end.
    bool tell(const std::string& script) {
        const std::string name = "script" + std::to_string(++scripts_);
        const std::filesystem::path file = session().directory() / (name + ".js");
        writeFile(file, script + "\nprint('done " + name + "');\n");
        const auto call = [&](const std::vector<std::string>& arguments) {
            std::vector<std::string> command{"dbus-send", "--session", "--print-reply",
                                             "--dest=org.kde.KWin", "/Scripting"};
            command.insert(command.end(), arguments.begin(), arguments.end());
            return session().succeeds(command);
        };
        return call({"org.kde.kwin.Scripting.loadScript", "string:" + file.string(),
                     "string:" + name}) &&
               call({"org.kde.kwin.Scripting.start"}) && eventually([&] {
                   return readFile(log()).find("done " + name + "\n") != std::string::npos ||
                          readFile(log()).find("done " + name + "\"") != std::string::npos;
               });
    }

    /// Which of these texts its log has last.
    [[nodiscard]] std::string lastOf(const std::vector<std::string>& texts) const {
        const std::string all = readFile(log());
        std::string last;
        std::size_t place = 0;
        for (const std::string& text : texts) {
            const std::size_t found = all.rfind(text);
            if (found != std::string::npos && found >= place) {
                place = found;
                last = text;
            }
        }
        return last;
    }

    int scripts_ = 0;
};

}  // namespace

std::unique_ptr<Desktop> startKwin(Session& session, const CompositorSetup& setup) {
    return std::make_unique<KwinDesktop>(session, setup);
}

}  // namespace velunor::testing
