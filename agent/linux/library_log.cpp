#include "agent/linux/library_log.h"

#include <fcntl.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <chrono>
#include <ctime>
#include <mutex>
#include <system_error>
#include <vector>

#include "platform/text.h"

namespace velunor::library_log {
namespace {

/// Where a line goes.
enum class Place { stream, streamAndStandardError };

/// A line from before the stream was opened.
struct KeptLine {
    std::string text;
    Place place;
};

struct Stream {
    std::mutex mutex;
    std::vector<KeptLine> kept;
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
    return time.data() + inOneLine(line, EscapeStyle::blank) + "\n";
}

void append(int file, const std::string& text) {
    // A log that cannot be written has nowhere else to say so.
    static_cast<void>(!::write(file, text.data(), text.size()));
}

void put(std::string_view line, Place place) {
    Stream& out = stream();
    const std::string text = record(line);
    const std::lock_guard lock(out.mutex);
    const bool isStandardError = out.opened && out.file == STDERR_FILENO;
    if (place == Place::streamAndStandardError && !isStandardError) {
        append(STDERR_FILENO, text);
    }
    if (out.opened) {
        append(out.file, text);
    } else {
        out.kept.push_back({.text = text, .place = place});
    }
}

}  // namespace

void write(std::string_view line) {
    put(line, Place::stream);
}

void writeError(std::string_view line) {
    put(line, Place::streamAndStandardError);
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
            append(STDERR_FILENO, record(path + ": " + std::generic_category().message(errno)));
        } else {
            out.file = file;
        }
    }
    for (const KeptLine& line : out.kept) {
        // Standard error already has what was to be there at once.
        if (out.file != STDERR_FILENO || line.place == Place::stream) {
            append(out.file, line.text);
        }
    }
    out.kept.clear();
}

}  // namespace velunor::library_log
