#include "tests/support/prompt/prompt_test.h"

#include <algorithm>
#include <array>
#include <cstdlib>

namespace velunor::testing {

Texts testTexts() {
    return {{"tarn.agent.msghand.os_reboot.reboot_title", "An update is ready"},
            {"tarn.agent.msghand.os_reboot.reboot_text", "The computer restarts afterwards."},
            {"tarn.agent.msghand.os_reboot.credentials_text", "Who authorises this?"},
            {"tarn.agent.msghand.os_reboot.change_username_text", "Another user"},
            {"tarn.agent.msghand.os_reboot.credentials_not_sufficient", "Not allowed to update."},
            {"tarn.agent.msghand.postpone", "Later"},
            {"tarn.agent.msghand.update_now", "Go ahead"},
            {"tarn.agent.msghand.remaining_attempts", "tries left"},
            {"tarn.agent.msghand.automatic_install_text", "Installs in %s min %s sec."},
            {"tarn.agent.msghand.automatic_postpone_text", "Waits for %s min %s sec."}};
}

std::vector<std::string> patientPrompt() {
    return {"OSUpdate", "Debian 12.9", "false", "15", "false", "2"};
}

PromptTest::PromptTest() {
    environment_ = {{"PATH", "/usr/local/bin:/usr/bin:/bin"},
                    {"HOME", (directory() / "home").string()},
                    {"LC_ALL", "C.UTF-8"},
                    {"TZ", "UTC"},
                    {"XDG_RUNTIME_DIR", (directory() / "runtime").string()},
                    // No service of the machine itself takes part.
                    {"DBUS_SYSTEM_BUS_ADDRESS", "unix:path=" + (directory() / "absent").string()},
                    {"VELUNOR_AGENT_SETTINGS", settingsPath().string()}};
    for (const char* passed : {"ASAN_OPTIONS", "UBSAN_OPTIONS", "LSAN_OPTIONS"}) {
        if (const char* value = std::getenv(passed)) {
            environment_[passed] = value;
        }
    }
    for (const char* name :
         {"home", "runtime", "base/i18n", "base/images", "data", "log/UserLogs"}) {
        std::filesystem::create_directories(directory() / name);
    }
    std::filesystem::permissions(directory() / "runtime", std::filesystem::perms::owner_all);
    const std::string root = directory().string();
    writeFile(settingsPath(), "[agent]\nproduct_name = \"Test Agent\"\nbase_path = \"" + root +
                                  "/base\"\ndata_path = \"" + root + "/data\"\nlog_path = \"" +
                                  root + "/log\"\n\n[service]\nbus = \"session\"\n\n" +
                                  "[credentials]\nsecure_token_tool = \"" + root +
                                  "/token-tool\"\n");
    // Whoever sits at the console of the machine may authorise updates.
    writeFile(directory() / "token-tool", "#!/bin/sh\necho ENABLED\n");
    std::filesystem::permissions(directory() / "token-tool", std::filesystem::perms::owner_all);
    writeTexts(testTexts());
}

Display& PromptTest::display() {
    if (!display_) {
        makeDisplay({});
    }
    return *display_;
}

void PromptTest::makeDisplay(const DisplaySetup& setup) {
    display_ = std::make_unique<Display>(directory(), setup);
    environment_["DISPLAY"] = display_->name();
}

Bus& PromptTest::bus() {
    if (!bus_) {
        bus_ = std::make_unique<Bus>(directory());
        environment_["DBUS_SESSION_BUS_ADDRESS"] = bus_->address();
        environment_["QT_LINUX_ACCESSIBILITY_ALWAYS_ON"] = "1";
    }
    return *bus_;
}

std::filesystem::path PromptTest::accessLogPath() const {
    return directory() / "log/UserLogs/rebootaccess.log";
}

std::filesystem::path PromptTest::settingsPath() const {
    return directory() / "agent.toml";
}

void PromptTest::writeTexts(const Texts& texts) const {
    std::string file;
    for (const auto& [key, text] : texts) {
        file.append(key).append(" = ").append(text).append("\n");
    }
    writeFile(directory() / "base/i18n/application_en.properties", file);
}

void PromptTest::startService(Treatment treatment) {
    service_.reset();
    service_ = std::make_unique<TestAgentService>(bus().address(), treatment);
}

void PromptTest::start(const std::vector<std::string>& arguments, mode_t umask) {
    std::vector<std::string> command{PROMPT_PROGRAM};
    command.insert(command.end(), arguments.begin(), arguments.end());
    startProgram(command, umask);
}

void PromptTest::startProgram(const std::vector<std::string>& command, mode_t umask) {
    if (environment_.count("WAYLAND_DISPLAY") == 0) {
        display();
    }
    bus();
    process_ = std::make_unique<ChildProcess>(Command{.arguments = command,
                                                      .environment = environment_,
                                                      .output = directory() / "out",
                                                      .errors = directory() / "err",
                                                      .umask = umask});
    prompt_ = process_->id();
}

std::optional<WindowId> PromptTest::waitForWindow() {
    return waitForWindow(process().id());
}

std::optional<WindowId> PromptTest::waitForWindow(pid_t process) {
    prompt_ = process;
    std::optional<WindowId> window;
    const bool shown = eventually([&] {
        window = display().screen().windowOf(process);
        return (window && display().screen().decorationOf(*window)) || !process_->isRunning();
    });
    return shown ? window : std::nullopt;
}

std::optional<Accessible> PromptTest::waitForControl(const std::string& role,
                                                     const std::string& name) {
    std::optional<Accessible> found;
    static_cast<void>(eventually([&] {
        found = findControl(controls(), role, name);
        return found.has_value() || !process_->isRunning();
    }));
    return found;
}

std::vector<Accessible> PromptTest::controls() {
    return reader().controlsOf(prompt_);
}

bool PromptTest::hasFocus(const std::string& name) {
    return eventually([&] {
        return std::ranges::any_of(controls(), [&](const Accessible& control) {
            return control.focused && control.name == name;
        });
    });
}

const AccessibilityReader& PromptTest::reader() {
    if (!reader_) {
        reader_ = std::make_unique<AccessibilityReader>(bus().accessibilityAddress());
    }
    return *reader_;
}

bool PromptTest::clickControl(const std::string& role, const std::string& name) {
    // The place of a control counts once its window has its final size: it is to be the same before
    // and after the pointer came to it.
    std::optional<PixelRect> pointedAt;
    const bool resting = eventually([&] {
        const std::optional<Accessible> control = findControl(controls(), role, name);
        const std::optional<WindowId> window = display().screen().windowOf(prompt_);
        if (!control || !window) {
            return !process_->isRunning();
        }
        if (control->extents == pointedAt) {
            return true;
        }
        pointedAt = control->extents;
        display().screen().pointAt(*window, *pointedAt);
        return false;
    });
    if (!resting || !pointedAt) {
        return false;
    }
    display().screen().click();
    return true;
}

bool PromptTest::waitForLog(const std::string& text) const {
    return eventually([&] {
               return systemLog().find(text) != std::string::npos || !process_->isRunning();
           }) &&
           systemLog().find(text) != std::string::npos;
}

}  // namespace velunor::testing
