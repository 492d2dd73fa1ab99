#include "platform/linux/linux_system_log.h"

#include <poll.h>
#include <sys/uio.h>
#include <syslog.h>
#include <systemd/sd-journal.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <chrono>
#include <climits>
#include <csignal>
#include <cstdio>
#include <ctime>

#include "platform/text.h"

namespace velunor {

namespace {

constexpr const char* identifier = "VelunorOSUpdate";
constexpr const char* journalSocket = "/run/systemd/journal/socket";

/// Local time with milliseconds, then the program and its process id.
std::string recordHead() {
    const auto now = std::chrono::system_clock::now();
    const std::time_t seconds = std::chrono::system_clock::to_time_t(now);
    const auto milliseconds =
        std::chrono::duration_cast<std::chrono::milliseconds>(now.time_since_epoch()).count() %
        1000;
    std::tm local{};
    localtime_r(&seconds, &local);
    std::array<char, 32> date{};
    std::strftime(date.data(), date.size(), "%Y-%m-%d %H:%M:%S", &local);
    std::array<char, 96> head{};
    const int length = std::snprintf(head.data(), head.size(), "%s.%03d %s[%d] ", date.data(),
                                     static_cast<int>(milliseconds), identifier, getpid());
    return {head.data(), static_cast<std::size_t>(length)};
}

/// Writes the record, up to a pipe's atomic size in one piece. A reader that does not read, or is
/// gone, costs the record and never stops the program.
void writeToStandardError(std::string_view record) {
    while (!record.empty()) {
        pollfd ready{STDERR_FILENO, POLLOUT, 0};
        if (poll(&ready, 1, 0) != 1 || (ready.revents & POLLOUT) == 0) {
            return;
        }
        const ssize_t count =
            ::write(STDERR_FILENO, record.data(), std::min<std::size_t>(record.size(), PIPE_BUF));
        if (count <= 0) {
            return;
        }
        record.remove_prefix(static_cast<std::size_t>(count));
    }
}

bool sendToJournal(const std::string& message) {
    const std::string text = "MESSAGE=" + message;
    const std::string name = std::string("SYSLOG_IDENTIFIER=") + identifier;
    const std::string priority = "PRIORITY=" + std::to_string(LOG_NOTICE);
    const auto field = [](const std::string& value) {
        return iovec{const_cast<char*>(value.data()), value.size()};
    };
    const std::array fields{field(text), field(name), field(priority)};
    return sd_journal_sendv(fields.data(), static_cast<int>(fields.size())) == 0;
}

}  // namespace

std::string escapedForLog(std::string_view message) {
    constexpr std::string_view hexadecimal = "0123456789ABCDEF";
    std::string out;
    out.reserve(message.size());
    const auto escape = [&](unsigned code) {
        out += "\\u{";
        for (unsigned shift = code > 0xFFU ? 12 : 4;; shift -= 4) {
            out += hexadecimal[(code >> shift) & 0xFU];
            if (shift == 0) {
                break;
            }
        }
        out += '}';
    };
    for (std::size_t index = 0; index < message.size();) {
        std::size_t length = 1;
        while (length < 4 && !isValidUtf8(message.substr(index, length))) {
            ++length;
        }
        const std::string_view character = message.substr(index, length);
        if (!isValidUtf8(character)) {
            out += "\uFFFD";
            ++index;
            continue;
        }
        const auto first = static_cast<unsigned char>(character.front());
        if (character == "\n") {
            out += "\\n";
        } else if (character == "\r") {
            out += "\\r";
        } else if (character == "\t") {
            out += "\\t";
        } else if (first < 0x20U || first == 0x7FU) {
            escape(first);
        } else if (first == 0xC2U && static_cast<unsigned char>(character[1]) < 0xA0U) {
            escape(static_cast<unsigned char>(character[1]));
        } else if (character == "\u2028" || character == "\u2029") {
            escape(character == "\u2028" ? 0x2028U : 0x2029U);
        } else {
            out += character;
        }
        index += length;
    }
    return out;
}

LinuxSystemLog::LinuxSystemLog() : journalListens_(access(journalSocket, W_OK) == 0) {
    // A reader of standard error that goes away must not take the prompt with it.
    static_cast<void>(std::signal(SIGPIPE, SIG_IGN));
    openlog(identifier, LOG_PID | LOG_NDELAY, LOG_USER);
}

void LinuxSystemLog::write(std::string_view message) {
    const std::string text = escapedForLog(message);
    writeToStandardError(recordHead() + text + "\n");
    if (!journalListens_ || !sendToJournal(text)) {
        syslog(LOG_NOTICE, "%s", text.c_str());
    }
}

}  // namespace velunor
