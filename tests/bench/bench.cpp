// Measures the prompt beside other programs that show one small window: the time from the start
// until the window is on the screen, the peak of memory by then, and the time from a click on its
// button to the end of the process. Medians over all runs; the programs take turns, so that the
// state of the machine is the same for each.

#include <algorithm>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <fstream>
#include <functional>
#include <iostream>
#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

#include "tests/support/desktop/accessible.h"
#include "tests/support/prompt/agent_service.h"
#include "tests/support/temporary_directory.h"

namespace {

using namespace velunor::testing;
using Clock = std::chrono::steady_clock;

struct Program {
    std::string name;
    std::vector<std::string> command;
    /// Title of the button that ends it; empty where the click is not measured.
    std::string button;
    std::vector<double> startMilliseconds;
    std::vector<double> peakKibibytes;
    std::vector<double> endMilliseconds;
};

double millisecondsSince(Clock::time_point begin) {
    return std::chrono::duration<double, std::milli>(Clock::now() - begin).count();
}

double median(std::vector<double> values) {
    if (values.empty()) {
        return 0;
    }
    const auto middle = values.begin() + static_cast<std::ptrdiff_t>(values.size() / 2);
    std::nth_element(values.begin(), middle, values.end());
    return *middle;
}

// The most memory that the process has held so far.
double peakKibibytes(pid_t process) {
    std::ifstream status("/proc/" + std::to_string(process) + "/status");
    for (std::string line; std::getline(status, line);) {
        if (line.starts_with("VmHWM:")) {
            return std::stod(line.substr(line.find(':') + 1));
        }
    }
    throw std::runtime_error("the peak of memory is not known");
}

// Asks more often than a test does: what is measured is some tens of milliseconds.
void waitUntil(const std::function<bool()>& condition, const std::string& what) {
    const auto begin = Clock::now();
    while (!condition()) {
        if (Clock::now() - begin > patience) {
            throw std::runtime_error("waited in vain until " + what);
        }
        std::this_thread::sleep_for(std::chrono::microseconds(200));
    }
}

class Bench {
  public:
    Bench() : display_(directory_.path()), bus_(directory_.path()), service_(startService()) {
        environment_ = {{"PATH", "/usr/local/bin:/usr/bin:/bin"},
                        {"HOME", directory_.path().string()},
                        {"XDG_RUNTIME_DIR", directory_.path().string()},
                        {"LC_ALL", "C.UTF-8"},
                        {"DISPLAY", display_.name()},
                        {"DBUS_SESSION_BUS_ADDRESS", bus_.address()},
                        {"DBUS_SYSTEM_BUS_ADDRESS", "unix:path=/nonexistent"},
                        {"GSETTINGS_BACKEND", "memory"},
                        {"NO_AT_BRIDGE", "1"}};
        const char* settings = std::getenv("VELUNOR_AGENT_SETTINGS");
        environment_["VELUNOR_AGENT_SETTINGS"] = settings == nullptr ? "" : settings;
        std::filesystem::permissions(directory_.path(), std::filesystem::perms::owner_all);
    }

    void measureStart(Program& program) {
        const auto begin = Clock::now();
        const ChildProcess process(command(program));
        waitUntil([this] { return !display_.screen().shownWindows().empty(); },
                  program.name + " showed");
        program.startMilliseconds.push_back(millisecondsSince(begin));
        program.peakKibibytes.push_back(peakKibibytes(process.id()));
        process.sendSignal(SIGKILL);
        waitUntil([this] { return display_.screen().shownWindows().empty(); },
                  program.name + " was gone");
    }

    void measureEnd(Program& program) {
        Command started = command(program);
        started.environment["QT_LINUX_ACCESSIBILITY_ALWAYS_ON"] = "1";
        ChildProcess process(started);
        const AccessibilityReader reader(bus_.accessibilityAddress());
        std::optional<Accessible> button;
        waitUntil(
            [&] {
                const std::optional<Accessible> before = button;
                button =
                    findControl(reader.controlsOf(process.id()), "push button", program.button);
                return before && button && before->extents == button->extents;
            },
            program.name + " had its button");
        const std::vector<WindowId> windows = display_.screen().shownWindows();
        if (windows.empty()) {
            throw std::runtime_error(program.name + " has no window");
        }
        display_.screen().click(windows.back(), button->extents);
        const auto begin = Clock::now();
        waitUntil([&] { return !process.isRunning(); }, program.name + " ended");
        program.endMilliseconds.push_back(millisecondsSince(begin));
    }

  private:
    std::unique_ptr<TestAgentService> startService() {
        return std::make_unique<TestAgentService>(bus_.address(), Treatment::answer);
    }

    [[nodiscard]] Command command(const Program& program) const {
        return {.arguments = program.command,
                .environment = environment_,
                .output = {},
                .errors = directory_.path() / "errors"};
    }

    TemporaryDirectory directory_;
    Display display_;
    Bus bus_;
    std::unique_ptr<TestAgentService> service_;
    Environment environment_;
};

void print(const std::vector<Program>& programs) {
    const Program& own = programs.front();
    std::printf("%-28s %12s %7s %12s %7s %12s\n", "", "start, ms", "ratio", "peak, KiB", "ratio",
                "click to end");
    for (const Program& program : programs) {
        const double start = median(program.startMilliseconds);
        const double peak = median(program.peakKibibytes);
        std::printf("%-28s %12.1f %7.2f %12.0f %7.2f", program.name.c_str(), start,
                    median(own.startMilliseconds) / start, peak, median(own.peakKibibytes) / peak);
        if (!program.endMilliseconds.empty()) {
            std::printf(" %9.1f ms", median(program.endMilliseconds));
        }
        std::printf("\n");
    }
    std::printf("Medians of %zu runs; a ratio is the prompt's value by that of the line.\n",
                own.startMilliseconds.size());
}

void run(int runs, const std::string& build) {
    std::vector<Program> programs{
        {"VelunorOSUpdate",
         {build + "/VelunorOSUpdate", "OSUpdate", "Debian 12.9", "false", "15", "false", "2"},
         "Update Now",
         {},
         {},
         {}},
        {"least window of the toolkit", {build + "/bench_peer"}, "Update Now", {}, {}, {}},
        {"zenity", {"zenity", "--info", "--text", "An update is ready"}, "", {}, {}, {}},
        {"xmessage", {"xmessage", "An update is ready"}, "", {}, {}, {}}};
    Bench bench;
    for (int round = 0; round < runs; ++round) {
        for (Program& program : programs) {
            bench.measureStart(program);
            if (!program.button.empty()) {
                bench.measureEnd(program);
            }
        }
    }
    print(programs);
}

}  // namespace

int main(int count, char** values) {
    if (count != 3) {
        std::cerr << "usage: bench RUNS BUILD-DIRECTORY\n";
        return 2;
    }
    try {
        run(std::stoi(values[1]), values[2]);
        return 0;
    } catch (const std::exception& error) {
        std::cerr << "bench: " << error.what() << '\n';
        return 1;
    }
}
