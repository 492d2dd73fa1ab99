#include "tests/bench/desk.h"

#include <stdexcept>

#include "tests/support/desktop/accessible.h"
#include "tests/support/files.h"
#include "tests/support/wait.h"

namespace velunor::testing {

std::vector<std::string> promptCommand(const std::string& updateName) {
    return {PROMPT_PROGRAM, "OSUpdate", updateName, "false", "15", "false", "2"};
}

Desk::Desk()
    : display_(directory_.path(), {.withWindowManager = false}),
      watch_(display_.name()),
      bus_(directory_.path()),
      service_(bus_.address(), Treatment::answer) {
    const std::string root = directory().string();
    for (const char* name : {"home", "runtime", "base/images", "data", "log/UserLogs"}) {
        std::filesystem::create_directories(directory() / name);
    }
    std::filesystem::copy(SHIPPED_TEXTS, directory() / "base/i18n");
    std::filesystem::permissions(directory() / "runtime", std::filesystem::perms::owner_all);
    writeFile(directory() / "agent.toml",
              "[agent]\nproduct_name = \"Ostrel Agent\"\nbase_path = \"" + root +
                  "/base\"\ndata_path = \"" + root + "/data\"\nlog_path = \"" + root +
                  "/log\"\n\n[service]\nbus = \"session\"\n");
    environment_ = {{"PATH", "/usr/local/bin:/usr/bin:/bin"},
                    {"HOME", root + "/home"},
                    {"XDG_RUNTIME_DIR", root + "/runtime"},
                    {"LC_ALL", "C.UTF-8"},
                    {"DISPLAY", display_.name()},
                    {"DBUS_SESSION_BUS_ADDRESS", bus_.address()},
                    {"DBUS_SYSTEM_BUS_ADDRESS", "unix:path=/nonexistent"},
                    {"GSETTINGS_BACKEND", "memory"},
                    {"NO_AT_BRIDGE", "1"},
                    {"VELUNOR_AGENT_SETTINGS", root + "/agent.toml"}};
}

std::unique_ptr<ChildProcess> Desk::start(const std::vector<std::string>& command) const {
    return std::make_unique<ChildProcess>(Command{.arguments = command,
                                                  .environment = environment_,
                                                  .output = {},
                                                  .errors = directory() / "errors"});
}

void Desk::customizeMessage(const std::string& text) const {
    writeFile(directory() / "data/AutoRebootMessages.plist",
              R"(<?xml version="1.0" encoding="UTF-8"?><plist version="1.0"><dict>)"
              "<key>info</key><string>" +
                  text + "</string></dict></plist>");
}

void Desk::forgetMessage() const {
    std::filesystem::remove(directory() / "data/AutoRebootMessages.plist");
}

void Desk::findButton(Program& program) {
    Environment heard = environment_;
    heard.erase("NO_AT_BRIDGE");
    heard["QT_LINUX_ACCESSIBILITY_ALWAYS_ON"] = "1";
    watch_.forget();
    const ChildProcess process({.arguments = program.command,
                                .environment = heard,
                                .output = {},
                                .errors = directory() / "errors"});
    static_cast<void>(watch_.next());
    const AccessibilityReader reader(bus_.accessibilityAddress());
    std::optional<Accessible> button;
    const bool stands = eventually([&] {
        const std::optional<Accessible> before = button;
        button = findControl(reader.controlsOf(process.id()), "push button", program.button);
        return before && button && before->extents == button->extents;
    });
    if (!stands) {
        throw std::runtime_error(program.name + " has no button \"" + program.button + "\"");
    }
    program.buttonPlace = button->extents;
    process.sendSignal(SIGKILL);
}

void Desk::pointAtButton(const Program& program, WindowId window) {
    display_.screen().pointAt(window, program.buttonPlace);
}

void Desk::click() {
    display_.screen().click();
}

}  // namespace velunor::testing
