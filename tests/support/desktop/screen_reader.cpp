#include "tests/support/desktop/screen_reader.h"

#include <algorithm>
#include <iterator>
#include <regex>
#include <stdexcept>
#include <string_view>

#include "tests/support/files.h"

namespace velunor::testing {
namespace {

// What it says once it is ready.
constexpr const char* firstWords = "Screen reader on.";

// Synthesises each text with a command that makes no sound.
constexpr const char* speechSettings = R"(AudioOutputMethod "libao"
AddModule "silent" "sd_generic" "silent.conf"
DefaultModule silent
)";
constexpr const char* silentVoice = R"(GenericExecuteSynth "true"
AddVoice "en" "MALE1" "silent"
)";

// Has it tell what it does on its standard error, where each line comes at once. The file that its
// own option names is written in blocks.
constexpr const char* customizations = R"(from orca import debug
debug.debugLevel = debug.LEVEL_INFO
)";

std::string onOneLine(const std::string& text) {
    static const std::regex lineBreak(R"(\s*\n\s*)");
    static const std::regex spacesAtTheEnd(" +$");
    return std::regex_replace(std::regex_replace(text, lineBreak, " / "), spacesAtTheEnd, "");
}

}  // namespace

ScreenReader::ScreenReader(const Environment& session, const std::filesystem::path& directory)
    : directory_(directory / "reader") {
    const std::filesystem::path socket = directory_ / "speech.socket";
    const std::filesystem::path own = directory_ / "data/orca";
    std::filesystem::create_directories(directory_ / "speech/modules");
    std::filesystem::create_directories(own);
    writeFile(directory_ / "speech/speechd.conf", speechSettings);
    writeFile(directory_ / "speech/modules/silent.conf", silentVoice);
    writeFile(own / "orca-customizations.py", customizations);
    Environment environment = session;
    environment["GSETTINGS_BACKEND"] = "memory";
    environment["XDG_DATA_HOME"] = directory_ / "data";
    environment["SPEECHD_ADDRESS"] = "unix_socket:" + socket.string();
    readSeries(environment);
    const std::string files = directory_ / "speech";
    speech_ = std::make_unique<ChildProcess>(
        Command{.arguments = {"speech-dispatcher", "--run-single", "--timeout", "0", "--config-dir",
                              files, "--log-dir", files, "--pid-file", files + "/pid",
                              "--communication-method", "unix_socket", "--socket-path", socket},
                .environment = environment,
                .output = {},
                .errors = directory_ / "speech.log"});
    if (!eventually([&] { return std::filesystem::exists(socket); })) {
        throw std::runtime_error("the speech service did not start: " +
                                 readFile(directory_ / "speech.log"));
    }
    reader_ = std::make_unique<ChildProcess>(Command{.arguments = {"orca"},
                                                     .environment = environment,
                                                     .output = {},
                                                     .errors = directory_ / "reader.log"});
    const std::filesystem::path log = directory_ / "reader.log";
    if (!eventually([&] { return readFile(log).find(firstWords) != std::string::npos; })) {
        throw std::runtime_error("the screen reader did not start: " + readFile(log));
    }
    log_.open(log);
}

void ScreenReader::readSeries(const Environment& environment) {
    const std::filesystem::path output = directory_ / "version";
    ChildProcess process({.arguments = {"orca", "--version"},
                          .environment = environment,
                          .output = output,
                          .errors = {}});
    static_cast<void>(process.wait());
    const std::string text = readFile(output);
    std::smatch found;
    if (!std::regex_search(text, found, std::regex(R"((\d+)\.)"))) {
        throw std::runtime_error("the screen reader does not tell its version: " + text);
    }
    series_ = found[1];
}

const std::vector<std::string>& ScreenReader::said() {
    // A text, which may have several lines, and then the voice that it was said with.
    constexpr std::string_view begin = "SPEECH OUTPUT: '";
    unread_.append(std::istreambuf_iterator<char>(log_), {});
    log_.clear();
    for (std::size_t at = unread_.find(begin); at != std::string::npos; at = unread_.find(begin)) {
        at += begin.size();
        const std::size_t end = std::min(unread_.find("'{", at), unread_.find("' {", at));
        if (end == std::string::npos) {
            // The rest is still being written.
            break;
        }
        const std::string text = onOneLine(unread_.substr(at, end - at));
        if (text != firstWords) {
            said_.push_back(text);
        }
        unread_.erase(0, end);
    }
    return said_;
}

}  // namespace velunor::testing
