#include "prompt/access_log.h"

#include <array>
#include <cerrno>
#include <cstdio>
#include <ctime>
#include <filesystem>
#include <random>
#include <system_error>
#include <utility>

#include "agent/ltarnutils.h"
#include "platform/file.h"
#include "platform/text.h"

namespace velunor {

void OSUpdateUtil::createLogFileIfNeeded(const std::string& at, SystemLog& log) {
    if (fileExists(at)) {
        log.write("Log file already exists at " + at);
        return;
    }
    constexpr auto readAndWriteForAll = static_cast<std::filesystem::perms>(0666);
    // Made under another name, so that no other user meets it before it has its mode. Neither step
    // replaces a file or follows a link: of two prompts that start together one makes the log.
    const std::string made = at + "." + std::to_string(std::random_device()());
    std::error_code notLinked = std::make_error_code(std::errc::io_error);
    std::error_code modeNotSet;
    if (std::FILE* file = std::fopen(made.c_str(), "wxe")) {
        static_cast<void>(std::fclose(file));
        std::filesystem::permissions(made, readAndWriteForAll, modeNotSet);
        std::filesystem::create_hard_link(made, at, notLinked);
        std::error_code ignored;
        std::filesystem::remove(made, ignored);
    }
    if (notLinked) {
        log.write("Failed to create log file at " + at);
        return;
    }
    log.write("Log file created at " + at);
    log.write(modeNotSet ? "Failed to set permissions: " + modeNotSet.message()
                         : "Permissions set to 0666");
}

std::string OSUpdateUtil::getLocalDateTimeString(const Clock& clock) {
    const std::time_t moment = std::chrono::system_clock::to_time_t(clock.now());
    std::tm parts{};
    // localtime_r() reads the zone at its first use only.
    tzset();
    const std::tm* local = localtime_r(&moment, &parts);
    std::array<char, 64> text{};
    const std::size_t length =
        local == nullptr ? 0 : std::strftime(text.data(), text.size(), "%Y-%m-%d %H:%M:%S", local);
    return {text.data(), length};
}

AccessLog::AccessLog(std::string path, const ProcessInfo& processInfo, const Clock& clock,
                     SystemLog& log)
    : path_(std::move(path)), processInfo_(processInfo), clock_(clock), log_(log) {}

void AccessLog::printStartingEntry(const OSUpdateInput& input) {
    OSUpdateUtil::createLogFileIfNeeded(path_, log_);
    std::string entry = "\n" + OSUpdateUtil::getLocalDateTimeString(clock_) + "\t\tOSUpdate\t\t";
    entry += processInfo_.userName() + "\t\t";
    entry += description(input.updateType);
    entry += input.defaultToProceed ? " - true - " : " - false - ";
    entry += input.updateName + " - " + std::to_string(input.timer) + " mins";
    UtilsWrapper().printAccessToFile(path_, entry);
}

void AccessLog::printEndingEntry(const OSUpdateNotificationResponse& response,
                                 std::string_view reason) {
    std::string entry = "\t\t" + response.description() + "\t\t";
    entry += reason;
    entry += "\t\t" + OSUpdateUtil::getLocalDateTimeString(clock_);
    UtilsWrapper().printAccessToFile(path_, entry);
}

}  // namespace velunor
