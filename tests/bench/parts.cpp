// How the time of single parts grows with the size of what they are given.

#include <benchmark/benchmark.h>

#include <QApplication>
#include <algorithm>
#include <chrono>
#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <string>
#include <utility>
#include <vector>

#include "agent/linux/settings.h"
#include "credentials/os_update_util.h"
#include "platform/linux/directory/directory_service.h"
#include "platform/posix/process.h"
#include "platform/property_list/property_list_reader.h"
#include "platform/qt/widgets/literal_text.h"
#include "platform/qt/widgets/shown_text.h"
#include "prompt/access_log.h"
#include "prompt/json_reader.h"
#include "prompt/os_update_input.h"
#include "prompt/os_update_notification_response.h"
#include "tests/support/files.h"
#include "tests/support/temporary_directory.h"

namespace velunor {
namespace {

using testing::TemporaryDirectory;
using testing::writeFile;

constexpr std::int64_t shortest = 10;
constexpr std::int64_t longest = 10'000'000;

struct SilentLog : SystemLog {
    void write(std::string_view) override {}
};

struct SomeProcess : ProcessInfo {
    [[nodiscard]] std::string bundlePath() const override { return "/"; }
    [[nodiscard]] std::string userName() const override { return "someone"; }
};

std::size_t sizeOf(const benchmark::State& state) {
    return static_cast<std::size_t>(state.range(0));
}

void upToTheLongest(benchmark::internal::Benchmark* part) {
    part->RangeMultiplier(10)->Range(shortest, longest)->Unit(benchmark::kMicrosecond);
}

void styledText(benchmark::State& state) {
    const TextAttributes bold{FontWeight::bold, 17.0, TextColor::standard};
    const AttributedString styled{{"Installs in ", std::nullopt, 0},
                                  {std::string(sizeOf(state), 'w'), bold, sizeOf(state)}};
    while (state.KeepRunning()) {
        LiteralText text;
        text.setText(boundedText(shownText(styled)));
        text.setFont(QApplication::font());
        benchmark::DoNotOptimize(text.heightForWidth(380));
    }
}
BENCHMARK(styledText)->Apply(upToTheLongest);

void jsonWritten(benchmark::State& state) {
    const OSUpdateNotificationResponse response{
        Proceed{"someone", Secret(std::string(sizeOf(state), 'w'))}};
    while (state.KeepRunning()) {
        benchmark::DoNotOptimize(encodeJson(response));
    }
}
BENCHMARK(jsonWritten)->Apply(upToTheLongest);

void jsonRead(benchmark::State& state) {
    const std::string json =
        R"({"proceed":{"userName":"someone","passwd":")" + std::string(sizeOf(state), 'w') + "\"}}";
    while (state.KeepRunning()) {
        benchmark::DoNotOptimize(decodeJson(json));
    }
}
BENCHMARK(jsonRead)->Apply(upToTheLongest);

void readPropertyList(benchmark::State& state, const std::string& text) {
    const std::span bytes = std::as_bytes(std::span(text));
    const PropertyListFileReader reader;
    if (!reader.parse(bytes)) {
        state.SkipWithError("not read");
    }
    while (state.KeepRunning()) {
        benchmark::DoNotOptimize(reader.parse(bytes));
    }
}

void xmlPropertyList(benchmark::State& state) {
    readPropertyList(state,
                     "<?xml version=\"1.0\"?><plist version=\"1.0\"><dict><key>info</key>"
                     "<string>" +
                         std::string(sizeOf(state), 'w') + "</string></dict></plist>");
}
BENCHMARK(xmlPropertyList)->Apply(upToTheLongest);

void openstepPropertyList(benchmark::State& state) {
    readPropertyList(state, "{ info = \"" + std::string(sizeOf(state), 'w') + "\"; }");
}
BENCHMARK(openstepPropertyList)->Apply(upToTheLongest);

std::string bigEndian(std::uint64_t value, int bytes) {
    std::string text;
    for (int byte = bytes - 1; byte >= 0; --byte) {
        text += static_cast<char>(value >> (8 * byte));
    }
    return text;
}

void binaryPropertyList(benchmark::State& state) {
    // A dictionary of one text: its key, the text with a length of eight bytes, their offsets.
    const std::string text =
        "\x5f\x13" + bigEndian(sizeOf(state), 8) + std::string(sizeOf(state), 'w');
    const std::string head = "bplist00";
    // "T": a text of four characters.
    const std::string key = "Tinfo";
    const std::string dictionary = "\xd1\x01\x02";
    const std::size_t keyPlace = head.size() + dictionary.size();
    const std::size_t textPlace = keyPlace + key.size();
    const std::size_t table = textPlace + text.size();
    readPropertyList(state, head + dictionary + key + text + bigEndian(head.size(), 8) +
                                bigEndian(keyPlace, 8) + bigEndian(textPlace, 8) +
                                std::string(6, '\0') + "\x08\x01" + bigEndian(3, 8) +
                                bigEndian(0, 8) + bigEndian(table, 8));
}
BENCHMARK(binaryPropertyList)->Apply(upToTheLongest);

void arguments(benchmark::State& state) {
    const std::vector<std::string> values{
        "VelunorOSUpdate", "OSUpdate", std::string(sizeOf(state), 'w'), "false", "15",
        "false",           "2"};
    SilentLog log;
    struct NoExit : ProcessExit {
        [[noreturn]] void exit(int) override { std::abort(); }
    } exit;
    while (state.KeepRunning()) {
        benchmark::DoNotOptimize(readPromptData(values, log, exit));
    }
}
// No system passes on a longer argument than 128 KiB.
BENCHMARK(arguments)->RangeMultiplier(10)->Range(shortest, 100'000)->Unit(benchmark::kMicrosecond);

void accessLog(benchmark::State& state) {
    const TemporaryDirectory directory;
    const auto path = directory.path() / "access.log";
    writeFile(path, "");
    SilentLog log;
    const SomeProcess process;
    const SystemClock clock;
    OSUpdateInput input;
    input.updateName = "Debian 12.9";
    while (state.KeepRunning()) {
        state.PauseTiming();
        // Without blocks on the disk, as far as nobody wrote to it.
        std::filesystem::resize_file(path, 0);
        std::filesystem::resize_file(path, sizeOf(state));
        state.ResumeTiming();
        AccessLog entries(path.string(), process, clock, log);
        entries.printStartingEntry(input);
        entries.printEndingEntry({Postponse{}}, "Postponed");
    }
}
BENCHMARK(accessLog)
    ->Arg(0)
    ->RangeMultiplier(1'000)
    ->Range(1'000, 1'000'000)
    ->Arg(1 << 30)
    ->Unit(benchmark::kMicrosecond);

/// A search path of so many network nodes, none of which answers.
LinuxDirectorySettings unreachableNodes(std::size_t count) {
    LinuxDirectorySettings settings;
    settings.checker.program = CHECKPASS_PROGRAM;
    for (std::size_t index = 0; index < count; ++index) {
        const std::string name = "/LDAPv3/node" + std::to_string(index);
        // Nobody listens at the first port.
        settings.nodes[name].uri = "ldap://127.0.0.1:1";
        settings.searchPath.push_back(name);
    }
    return settings;
}

void searchPathWalked(benchmark::State& state) {
    LinuxDirectoryService directory(unreachableNodes(sizeOf(state)));
    SilentLog log;
    const Secret password("no password");
    while (state.KeepRunning()) {
        if (OSUpdateUtil::validatePasswordForAllDomain("someone", password, directory, log)) {
            state.SkipWithError("somebody answered");
        }
    }
}
BENCHMARK(searchPathWalked)
    ->RangeMultiplier(10)
    ->Range(1, 1'000)
    ->UseRealTime()
    ->Unit(benchmark::kMicrosecond);

void searchPathOfSettings(benchmark::State& state) {
    std::string text =
        "[agent]\nbase_path = \"/a\"\ndata_path = \"/b\"\nlog_path = "
        "\"/c\"\n[directory]\nsearch_path = [\"/Local/Default\"";
    std::string nodes;
    for (std::size_t index = 0; index < sizeOf(state); ++index) {
        const std::string name = "/LDAPv3/node" + std::to_string(index);
        text += ", \"" + name + "\"";
        nodes += "[directory.node.\"" + name +
                 "\"]\nuri = \"ldaps://ldap.example.org\"\nuser_base = \"dc=example\"\n";
    }
    text += "]\n" + nodes;
    if (!parseSettings(text, "agent.toml")) {
        state.SkipWithError("not read");
    }
    while (state.KeepRunning()) {
        benchmark::DoNotOptimize(parseSettings(text, "agent.toml"));
    }
}
BENCHMARK(searchPathOfSettings)
    ->RangeMultiplier(10)
    ->Range(1, 1'000)
    ->Unit(benchmark::kMicrosecond);

}  // namespace
}  // namespace velunor

int main(int count, char** values) {
    const QApplication application(count, values);
    benchmark::Initialize(&count, values);
    benchmark::RunSpecifiedBenchmarks();
}
