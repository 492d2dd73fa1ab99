#include <fcntl.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <csignal>
#include <string>
#include <utility>

#include "platform/linux/directory/credential_checker_connection.h"
#include "platform/linux/directory/credential_checker_protocol.h"
#include "platform/posix/poll_until.h"
#include "platform/posix/spawn_settings.h"

namespace velunor {

namespace {

struct Pipe {
    FileDescriptor reader{};
    FileDescriptor writer{};
};

/// Where the program runs with a standard stream closed, a descriptor must not take its number: the
/// child's own streams are put there.
FileDescriptor aboveStandard(FileDescriptor descriptor) {
    return descriptor.get() > STDERR_FILENO
               ? std::move(descriptor)
               : FileDescriptor(fcntl(descriptor.get(), F_DUPFD_CLOEXEC, STDERR_FILENO + 1));
}

/// A new pipe that no other program inherits, with closed ends when there is none; errno has the
/// reason.
Pipe newPipe() {
    std::array<int, 2> ends{};
    if (pipe2(ends.data(), O_CLOEXEC) != 0) {
        return {};
    }
    return {aboveStandard(FileDescriptor(ends[0])), aboveStandard(FileDescriptor(ends[1]))};
}

/// 0 when nobody but root and this user can have made the program what it is, else errno's number.
int distrust(const std::string& program) {
    struct stat status {};
    if (stat(program.c_str(), &status) != 0) {
        return errno;
    }
    const bool owned = status.st_uid == 0 || status.st_uid == geteuid();
    const bool closed = (status.st_mode & (S_IWGRP | S_IWOTH)) == 0;
    return S_ISREG(status.st_mode) && owned && closed ? 0 : EPERM;
}

/// A descriptor that is readable once the process has ended. The C library's function has no C++
/// linkage in every version.
FileDescriptor endOf(pid_t process) {
    return FileDescriptor(static_cast<int>(syscall(SYS_pidfd_open, process, 0)));
}

/// A started program, which is killed with its process group, and reaped, at the latest when it
/// goes out of scope.
class HelperProcess {
  public:
    explicit HelperProcess(pid_t process) : process_(process), ended_(endOf(process)) {}
    HelperProcess(const HelperProcess&) = delete;
    HelperProcess& operator=(const HelperProcess&) = delete;
    ~HelperProcess() {
        // Once somebody else has reaped it, its number may be another process's.
        siginfo_t state{};
        if (waitid(P_PID, static_cast<id_t>(process_), &state, WEXITED | WNOHANG | WNOWAIT) == 0) {
            kill(-process_, SIGKILL);
            constexpr std::chrono::milliseconds patience{100};
            static_cast<void>(
                waitUntilReady(ended_.get(), POLLIN, std::chrono::steady_clock::now() + patience));
            waitpid(process_, nullptr, WNOHANG);
        }
    }

    /// 0 when it has ended well, else errno's number. Where this process does not take notice of
    /// its children, or something else in it has reaped this one, that it has ended is enough.
    [[nodiscard]] int waitForSuccess(SteadyDeadline deadline) const {
        if (ended_.isOpen()) {
            const int error = waitUntilReady(ended_.get(), POLLIN, deadline);
            if (error != 0) {
                return error;
            }
        }
        siginfo_t state{};
        if (waitid(P_PID, static_cast<id_t>(process_), &state, WEXITED | WNOHANG | WNOWAIT) != 0) {
            return errno == ECHILD ? 0 : errno;
        }
        return state.si_code == CLD_EXITED && state.si_status == 0 ? 0 : EPROTO;
    }

  private:
    pid_t process_;
    FileDescriptor ended_;
};

}  // namespace

DirectoryResult<std::string> askHelperProcess(const std::string& program, const Secret& request,
                                              SteadyDeadline deadline) {
    int error = distrust(program);
    if (error != 0) {
        return helperError(error, program);
    }
    Pipe question = newPipe();
    Pipe answer = newPipe();
    if (!question.reader.isOpen() || !question.writer.isOpen() || !answer.reader.isOpen() ||
        !answer.writer.isOpen()) {
        return helperError(errno, "pipe");
    }
    // It fits into any pipe, and as long as this process holds the other end too, the write meets
    // no broken pipe, whose signal would end the process.
    const std::string_view bytes = request.reveal();
    if (::write(question.writer.get(), bytes.data(), bytes.size()) !=
        static_cast<ssize_t>(bytes.size())) {
        return helperError(EIO, "write");
    }
    question.writer = FileDescriptor();
    const SpawnSettings settings({question.reader.get(), answer.writer.get(), -1},
                                 ProcessGroup::own);
    std::string path = "PATH=/usr/sbin:/usr/bin:/sbin:/bin";
    std::array<char*, 2> environment{path.data(), nullptr};
    std::array<char*, 2> arguments{const_cast<char*>(program.c_str()), nullptr};
    pid_t child = 0;
    error = posix_spawn(&child, program.c_str(), settings.actions(), settings.attributes(),
                        arguments.data(), environment.data());
    if (error != 0) {
        return helperError(error, program);
    }
    const HelperProcess process(child);
    question.reader = FileDescriptor();
    answer.writer = FileDescriptor();
    auto text = readHelperAnswer(answer.reader.get(), deadline);
    if (text && *text == password_helper_protocol::accepted) {
        error = process.waitForSuccess(deadline);
        if (error != 0) {
            return helperError(error, "end of the program");
        }
    }
    return text;
}

}  // namespace velunor
