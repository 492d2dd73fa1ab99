#include "agent/linux/library_log.h"

#include <fcntl.h>
#include <unistd.h>

#include <array>
#include <chrono>
#include <ctime>
#include <mutex>
#include <vector>

namespace velunor::library_log {

namespace {

struct Stream {
    std::mutex mutex;
    std::vector<std::string> kept;
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
    std::string text = time.data();
    for (const char character : line) {
        text += static_cast<unsigned char>(character) < 0x20U ? ' ' : character;
    }
    return text + "\n";
}

void append(int file, const std::string& text) {
    // A log that cannot be written has nowhere else to say so.
    static_cast<void>(!::write(file, text.data(), text.size()));
}

}  // namespace

void write(std::string_view line) {
    Stream& out = stream();
    const std::string text = record(line);
    const std::lock_guard lock(out.mutex);
    if (out.opened) {
        append(out.file, text);
    } else {
        out.kept.push_back(text);
    }
}

void writeError(std::string_view line) {
    Stream& out = stream();
    bool shown = false;
    {
        const std::lock_guard lock(out.mutex);
        shown = out.opened && out.file == STDERR_FILENO;
    }
    if (!shown) {
        append(STDERR_FILENO, record(line));
    }
    write(line);
}

void open(const std::string& path) {
    constexpr mode_t ownerOnly = 0600;
    Stream& out = stream();
    const std::lock_guard lock(out.mutex);
    const int file =
        path.empty() ? -1
                     : ::open(path.c_str(),
                              O_WRONLY | O_APPEND | O_CREAT | O_NOFOLLOW | O_CLOEXEC | O_NONBLOCK,
                              ownerOnly);
    if (out.file != STDERR_FILENO) {
        ::close(out.file);
    }
    out.file = file < 0 ? STDERR_FILENO : file;
    out.opened = true;
    for (const std::string& line : out.kept) {
        append(out.file, line);
    }
    out.kept.clear();
}

}  // namespace velunor::library_log
