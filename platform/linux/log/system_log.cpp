#include "platform/linux/log/system_log.h"

// A record does not tell where in the source it was written.
#define SD_JOURNAL_SUPPRESS_LOCATION

#include <fcntl.h>
#include <poll.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <syslog.h>
#include <systemd/sd-journal.h>
#include <unistd.h>

#include <array>
#include <climits>
#include <csignal>
#include <cstdio>
#include <ctime>

#include "platform/posix/file_descriptor.h"
#include "platform/posix/local_socket.h"
#include "platform/posix/process.h"
#include "platform/text.h"

namespace velunor {
namespace {

constexpr const char* identifier = "VelunorOSUpdate";
constexpr const char* journalSocket = "/run/systemd/journal/socket";
constexpr const char* syslogSocket = "/dev/log";

/// Local time with milliseconds, then the program and its process id.
std::string recordHead() {
    std::timespec now{};
    std::timespec_get(&now, TIME_UTC);
    std::tm local{};
    localtime_r(&now.tv_sec, &local);
    std::array<char, 32> date{};
    static_cast<void>(std::strftime(date.data(), date.size(), "%Y-%m-%d %H:%M:%S", &local));
    std::array<char, 96> head{};
    const int length = std::snprintf(head.data(), head.size(), "%s.%03ld %s[%d] ", date.data(),
                                     now.tv_nsec / 1'000'000, identifier, getpid());
    return {head.data(), static_cast<std::size_t>(length)};
}

/// Whether writing does not wait: there is room, or it fails at once.
bool isReadyForWriting(int descriptor) {
    pollfd ready{descriptor, POLLOUT, 0};
    return poll(&ready, 1, 0) == 1;
}

/// A log that cannot be written has nowhere else to say so.
void tryToWrite(int descriptor, std::string_view record) {
    [[maybe_unused]] const ssize_t written = ::write(descriptor, record.data(), record.size());
}

/// Writes the record in one piece. Where the reader is slow or gone the record is lost; the program
/// never waits. Programs that share standard error keep its blocking mode: a pipe is opened anew
/// for this write instead of being changed.
void writeToStandardError(std::string_view record) {
    struct stat about {};
    if (fstat(STDERR_FILENO, &about) != 0) {
        return;
    }
    if (S_ISSOCK(about.st_mode)) {
        static_cast<void>(
            ::send(STDERR_FILENO, record.data(), record.size(), MSG_DONTWAIT | MSG_NOSIGNAL));
        return;
    }
    const bool isPipe = S_ISFIFO(about.st_mode);
    const FileDescriptor pipe(isPipe ? open("/proc/self/fd/2", O_WRONLY | O_NONBLOCK | O_CLOEXEC)
                                     : -1);
    if (pipe.isOpen()) {
        tryToWrite(pipe.get(), record);
    } else if (isReadyForWriting(STDERR_FILENO)) {
        // Another user's pipe cannot be opened; up to this size it takes a record without waiting.
        const bool isCut = isPipe && record.size() > PIPE_BUF;
        tryToWrite(STDERR_FILENO,
                   isCut ? std::string(record.substr(0, PIPE_BUF - 1)) + '\n' : record);
    }
}

/// Whether somebody listens on the socket, and has room for a record now: the calls that send one
/// would wait.
struct Listener {
    bool present;
    bool hasRoom;
};

Listener listenerAt(const char* path) {
    const FileDescriptor probe = connectLocalSocket(SOCK_DGRAM, path);
    return {probe.isOpen(), probe.isOpen() && isReadyForWriting(probe.get())};
}

}  // namespace

LinuxSystemLog::LinuxSystemLog() {
    occupyStandardStreams();
    // A reader of standard error that goes away must not take the prompt with it, nor a file that
    // may not grow.
    static_cast<void>(std::signal(SIGPIPE, SIG_IGN));
    static_cast<void>(std::signal(SIGXFSZ, SIG_IGN));
    openlog(identifier, LOG_PID | LOG_NDELAY, LOG_USER);
}

void LinuxSystemLog::write(std::string_view message) {
    const std::string text = inOneLine(message);
    writeToStandardError(recordHead() + text + "\n");
    const Listener journal = listenerAt(journalSocket);
    if (journal.hasRoom) {
        static_cast<void>(sd_journal_send("MESSAGE=%s", text.c_str(), "SYSLOG_IDENTIFIER=%s",
                                          identifier, "PRIORITY=%d", LOG_NOTICE, nullptr));
    } else if (!journal.present && listenerAt(syslogSocket).hasRoom) {
        syslog(LOG_NOTICE, "%s", text.c_str());
    }
}

}  // namespace velunor
