#include "agent/linux/library_log.h"

#include <fcntl.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <chrono>
#include <ctime>
#include <mutex>
#include <system_error>
#include <utility>
#include <vector>

#include "platform/linux/log/system_log.h"
#include "platform/text.h"

namespace velunor::library_log {
namespace {

/// Where a line goes.
enum class Place { stream, streamAndSystemLog };

struct Line {
    std::string text;
    Place place;
};

struct Stream {
    std::mutex mutex;
    /// The lines from before it was opened.
    std::vector<Line> kept;
    bool opened = false;
    int file = STDERR_FILENO;
};

/// Never destroyed: the connection's thread may write while the process exits.
Stream& stream() {
    static auto* const instance = new Stream;
    return *instance;
}

std::string record(std::string_view line) {
    const std::time_t now = std::chrono::system_clock::to_time_t(std::chrono::system_clock::now());
    std::tm local{};
    localtime_r(&now, &local);
    std::array<char, 32> time{};
    std::strftime(time.data(), time.size(), "%Y-%m-%d %H:%M:%S ", &local);
    return time.data() + inOneLine(line) + "\n";
}

void append(int file, const Line& line) {
    // The system log has put its lines on standard error already.
    if (file != STDERR_FILENO || line.place == Place::stream) {
        // A log that cannot be written has nowhere else to say so.
        [[maybe_unused]] const ssize_t written = ::write(file, line.text.data(), line.text.size());
    }
}

void put(std::string_view line, Place place) {
    if (place == Place::streamAndSystemLog) {
        LinuxSystemLog().write(line);
    }
    Stream& out = stream();
    Line whole{.text = record(line), .place = place};
    const std::lock_guard lock(out.mutex);
    if (out.opened) {
        append(out.file, whole);
    } else {
        out.kept.push_back(std::move(whole));
    }
}

}  // namespace

void write(std::string_view line) {
    put(line, Place::stream);
}

void writeError(std::string_view line) {
    put(line, Place::streamAndSystemLog);
}

void open(const std::string& path) {
    constexpr mode_t ownerOnly = 0600;
    Stream& out = stream();
    const std::lock_guard lock(out.mutex);
    if (out.file != STDERR_FILENO) {
        ::close(out.file);
        out.file = STDERR_FILENO;
    }
    out.opened = true;
    if (!path.empty()) {
        const int file =
            ::open(path.c_str(),
                   O_WRONLY | O_APPEND | O_CREAT | O_NOFOLLOW | O_CLOEXEC | O_NONBLOCK, ownerOnly);
        if (file < 0) {
            const std::string reason = path + ": " + std::generic_category().message(errno);
            append(STDERR_FILENO, {.text = record(reason), .place = Place::stream});
        } else {
            out.file = file;
        }
    }
    for (const Line& line : out.kept) {
        append(out.file, line);
    }
    out.kept.clear();
}

}  // namespace velunor::library_log
