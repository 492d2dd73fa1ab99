// Measures the prompt beside other programs that show one small window. They take turns, so that
// the state of the machine is the same for each, and in another order each time, so that none
// always comes behind the same other one. Prints a line for each value: what was measured,
// of which program, the value; dev.d/bench_report.py makes tables and plots of them.

#include <algorithm>
#include <chrono>
#include <csignal>
#include <exception>
#include <functional>
#include <iostream>
#include <memory>
#include <random>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

#include "tests/bench/counting.h"
#include "tests/bench/desk.h"

namespace {

using namespace velunor::testing;
using Clock = WindowWatch::Clock;
using std::chrono::milliseconds;
using std::chrono::seconds;

/// How long a program is left alone before what it takes at rest is measured.
constexpr seconds settling{3};

template <class Subject>
void print(const std::string& measure, const Subject& subject, double value) {
    std::cout << measure << '\t' << subject << '\t' << value << std::endl;
}

double millisecondsBetween(Clock::time_point begin, Clock::time_point end) {
    return std::chrono::duration<double, std::milli>(end - begin).count();
}

double secondsNow() {
    return std::chrono::duration<double>(std::chrono::system_clock::now().time_since_epoch())
        .count();
}

/// Asks more often than a test does: what is measured is a few milliseconds.
Clock::time_point whenTrue(const std::function<bool()>& condition, seconds limit = patience) {
    const auto begin = Clock::now();
    while (!condition()) {
        if (Clock::now() - begin > limit) {
            throw std::runtime_error("waited in vain");
        }
        std::this_thread::sleep_for(std::chrono::microseconds(100));
    }
    return Clock::now();
}

void measureStart(Desk& desk, const Program& program) {
    desk.watch().forget();
    const auto begin = Clock::now();
    const auto process = desk.start(program.command);
    const WindowWatch::Appearance shown = desk.watch().next();
    const double processor = costBetween({}, costsOf(process->id())).processorMilliseconds;
    print("exec to mapped, ms", program.name, millisecondsBetween(begin, shown.mapped));
    print("exec to painted, ms", program.name, millisecondsBetween(begin, shown.painted));
    print("processor until painted, ms", program.name, processor);
    // What is done behind the first picture belongs to what stays.
    std::this_thread::sleep_for(milliseconds(600));
    const Memory memory = memoryOf(process->id());
    print("proportional memory, kB", program.name, memory.proportional);
    print("own memory, kB", program.name, memory.own);
    process->sendSignal(SIGKILL);
}

void measureEnd(Desk& desk, const Program& program) {
    desk.watch().forget();
    const auto process = desk.start(program.command);
    const WindowId window = desk.watch().next().window;
    std::this_thread::sleep_for(milliseconds(600));
    const std::size_t before = desk.service().requests().size();
    desk.pointAtButton(program, window);
    const auto begin = Clock::now();
    desk.click();
    if (program.command.front() == promptCommand().front()) {
        const auto delivered = whenTrue([&] { return desk.service().requests().size() > before; });
        print("click to delivered, ms", program.name, millisecondsBetween(begin, delivered));
    }
    const auto ended = whenTrue([&] { return !process->isRunning(); });
    print("click to end, ms", program.name, millisecondsBetween(begin, ended));
}

/// All of them side by side: they do next to nothing.
void measureStanding(Desk& desk, const std::vector<Program>& programs, seconds time) {
    std::vector<std::unique_ptr<ChildProcess>> processes;
    processes.reserve(programs.size());
    for (const Program& program : programs) {
        desk.watch().forget();
        processes.push_back(desk.start(program.command));
        static_cast<void>(desk.watch().next());
    }
    std::this_thread::sleep_for(settling);
    std::vector<ThreadCosts> before;
    before.reserve(programs.size());
    for (const auto& process : processes) {
        before.push_back(costsOf(process->id()));
    }
    std::this_thread::sleep_for(time);
    const auto length = static_cast<double>(time.count());
    for (std::size_t index = 0; index < programs.size(); ++index) {
        const Cost cost = costBetween(before[index], costsOf(processes[index]->id()));
        const std::string& name = programs[index].name;
        print("context switches a second", name, cost.contextSwitches / length);
        print("processor, ms a second", name, cost.processorMilliseconds / length);
    }
}

void countCalls(Desk& desk, const std::vector<Program>& programs, seconds time) {
    struct Traced {
        std::filesystem::path path;
        double painted = 0;
        std::unique_ptr<ChildProcess> process;
    };
    std::vector<Traced> traced;
    for (const Program& program : programs) {
        const auto path = desk.directory() / ("calls." + std::to_string(traced.size()));
        desk.watch().forget();
        auto process = desk.start(tracingCalls(program.command, path));
        static_cast<void>(desk.watch().next());
        traced.push_back({path, secondsNow(), std::move(process)});
    }
    std::this_thread::sleep_for(settling);
    const double begin = secondsNow();
    std::this_thread::sleep_for(time);
    const double end = secondsNow();
    for (std::size_t index = 0; index < programs.size(); ++index) {
        traced[index].process.reset();
        const Calls start = callsBetween(traced[index].path, 0, traced[index].painted);
        const Calls standing = callsBetween(traced[index].path, begin, end);
        const std::string& name = programs[index].name;
        print("files opened until painted", name, start.filesOpened);
        print("files asked for in vain until painted", name, start.filesMissing);
        print("system calls a second", name, standing.all / (end - begin));
    }
}

/// Counts the instructions of the start, and of `ticks` ticks.
struct Instructions {
    double start = 0;
    double tick = 0;
};
Instructions countInstructions(const Desk& desk, const std::vector<std::string>& command,
                               const std::string& pictured, std::size_t ticks) {
    const std::filesystem::path directory = desk.directory() / "counts";
    std::filesystem::remove_all(directory);
    std::filesystem::create_directory(directory);
    const auto path = directory / "count";
    const auto process = desk.start(countingInstructions(command, path, {pictured, promptTick}));
    Instructions counted;
    static_cast<void>(whenTrue(
        [&] {
            std::this_thread::sleep_for(milliseconds(100));
            if (!process->isRunning()) {
                throw std::runtime_error(command.front() + " ended early");
            }
            counted.start = instructionsUntil(path, pictured).value_or(0);
            std::vector<double> all = instructionsOfTicks(path, pictured, promptTick);
            if (counted.start == 0 || all.size() < ticks) {
                return false;
            }
            std::ranges::sort(all);
            counted.tick = all.empty() ? 0 : all[all.size() / 2];
            return true;
        },
        std::chrono::minutes(5)));
    return counted;
}

constexpr std::size_t enoughTicks = 7;

void countInstructions(const Desk& desk, const Program& program, const std::string& pictured,
                       std::size_t ticks) {
    const Instructions counted = countInstructions(desk, program.command, pictured, ticks);
    print("instructions until the first picture, million", program.name, counted.start / 1e6);
    if (ticks > 0) {
        print("instructions a tick, million", program.name, counted.tick / 1e6);
    }
}

/// How the start and the tick grow with the length of a text.
void countTextSizes(const Desk& desk) {
    constexpr std::size_t longest = 10'000'000;
    for (std::size_t size = 10; size <= longest; size *= 10) {
        std::string lines;
        while (lines.size() < size) {
            lines += "a short line\n";
        }
        lines.resize(size);
        for (const auto& [measure, text] :
             {std::pair{"message without a space", std::string(size, 'w')},
              std::pair{"message of short lines", lines}}) {
            desk.customizeMessage(text);
            const Instructions counted =
                countInstructions(desk, promptCommand(), promptPictured, enoughTicks);
            print(std::string(measure) + ": start, million", size, counted.start / 1e6);
            print(std::string(measure) + ": tick, million", size, counted.tick / 1e6);
        }
    }
    desk.forgetMessage();
    // No system passes on a longer argument than 128 KiB.
    for (const std::size_t size : {10U, 100U, 1'000U, 10'000U, 100'000U}) {
        const Instructions counted = countInstructions(desk, promptCommand(std::string(size, 'w')),
                                                       promptPictured, enoughTicks);
        print("update name: start, million", size, counted.start / 1e6);
        print("update name: tick, million", size, counted.tick / 1e6);
    }
}

void run(int runs, const std::string& build) {
    std::vector<std::string> withCredentials = promptCommand();
    withCredentials[1] = "OSUpdateWithCred";
    const std::string fltk = build + "/bench_fltk";
    std::vector<Program> programs{
        {.name = "prompt", .command = promptCommand(), .button = "Update Now"},
        {.name = "prompt with credentials", .command = withCredentials, .button = "Postpone"},
        {.name = "bare window of the toolkit",
         .command = {build + "/bench_peer"},
         .button = "Update Now"},
        {.name = "bare window of FLTK",
         .command = {fltk},
         .button = {},
         .buttonPlace = {140, 50, 90, 30}},
        {.name = "yad",
         .command = {"yad", "--text=An update is ready", "--timeout=900",
                     "--timeout-indicator=bottom", "--image=software-update-available",
                     "--button=Postpone:1", "--button=Update Now:0"},
         .button = "Update Now"},
        {.name = "kdialog",
         .command = {"kdialog", "--msgbox", "An update is ready"},
         .button = {},
         .buttonPlace = {95, 49, 80, 26}},
        {.name = "zenity",
         .command = {"zenity", "--info", "--text", "An update is ready"},
         .button = "OK"}};
    Desk desk;
    for (Program& program : programs) {
        if (!program.button.empty()) {
            desk.findButton(program);
        }
    }
    std::vector<Program> turns = programs;
    // The same orders in each run; the first is that of the tables.
    std::mt19937 random(1);
    for (int round = 0; round < runs; ++round) {
        for (const Program& program : turns) {
            measureStart(desk, program);
            measureEnd(desk, program);
        }
        std::ranges::shuffle(turns, random);
    }
    measureStanding(desk, programs, seconds(60));
    countCalls(desk, programs, seconds(20));
    countInstructions(desk, programs[0], promptPictured, enoughTicks);
    countInstructions(desk, programs[1], promptPictured, enoughTicks);
    countInstructions(desk, programs[2], bareWindowPictured, 0);
    countTextSizes(desk);
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
