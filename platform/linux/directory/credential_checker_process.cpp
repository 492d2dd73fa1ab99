#include <fcntl.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <csignal>
#include <utility>

#include "platform/linux/directory/credential_checker.h"
#include "platform/linux/directory/credential_checker_protocol.h"
#include "platform/posix/file_descriptor.h"
#include "platform/posix/process.h"
#include "platform/posix/trust.h"

namespace velunor {
namespace {

struct Pipe {
    FileDescriptor reader{};
    FileDescriptor writer{};
};

/// A new pipe that no other program inherits, with closed ends when there is none; errno has the
/// reason.
Pipe newPipe() {
    std::array<int, 2> ends{};
    if (pipe2(ends.data(), O_CLOEXEC) != 0) {
        return {};
    }
    return {aboveStandardStreams(FileDescriptor(ends[0])),
            aboveStandardStreams(FileDescriptor(ends[1]))};
}

/// Whether nobody has reaped the process yet, after which its number may be another one's. `state`
/// tells how it has ended, if it has.
bool isUnreaped(pid_t process, siginfo_t& state) {
    return waitid(P_PID, static_cast<id_t>(process), &state, WEXITED | WNOHANG | WNOWAIT) == 0;
}

}  // namespace

DirectoryResult<std::unique_ptr<CheckerProcess>> CheckerProcess::start(
    const std::string& program, std::span<const std::string> arguments) {
    int error = distrust(program);
    if (error != 0) {
        return checkerError(error, program);
    }
    Pipe question = newPipe();
    Pipe answer = newPipe();
    if (!question.reader.isOpen() || !question.writer.isOpen() || !answer.reader.isOpen() ||
        !answer.writer.isOpen()) {
        return checkerError(errno, "pipe");
    }
    std::string path = "PATH=/usr/sbin:/usr/bin:/sbin:/bin";
    const std::array<char*, 2> environment{path.data(), nullptr};
    std::unique_ptr<CheckerProcess> checker(new CheckerProcess);
    error = spawn({.program = program,
                   .arguments = arguments,
                   .streams = {.input = question.reader.get(), .output = answer.writer.get()},
                   .group = ProcessGroup::own,
                   .environment = environment.data()},
                  checker->process_);
    if (error != 0) {
        return checkerError(error, program);
    }
    // The C library's function has no C++ linkage in every version.
    checker->ended_ =
        FileDescriptor(static_cast<int>(syscall(SYS_pidfd_open, checker->process_, 0)));
    checker->question_ = std::move(question.writer);
    checker->questionReader_ = std::move(question.reader);
    checker->answer_ = std::move(answer.reader);
    return checker;
}

CheckerProcess::~CheckerProcess() {
    siginfo_t state{};
    if (process_ > 0 && isUnreaped(process_, state)) {
        kill(-process_, SIGKILL);
        constexpr std::chrono::milliseconds patience{100};
        static_cast<void>(
            pollUntil(ended_.get(), POLLIN, std::chrono::steady_clock::now() + patience));
        waitpid(process_, nullptr, WNOHANG);
    }
}

DirectoryResult<std::string> CheckerProcess::readLine(SteadyDeadline deadline) const {
    return readCheckerAnswer(answer_.get(), AnswerPart::firstLine, deadline);
}

DirectoryResult<std::string> CheckerProcess::ask(const Secret& request, SteadyDeadline deadline) {
    // It fits into any pipe.
    const std::string_view bytes = request.reveal();
    if (::write(question_.get(), bytes.data(), bytes.size()) !=
        static_cast<ssize_t>(bytes.size())) {
        return checkerError(EIO, "write");
    }
    question_ = FileDescriptor();
    auto answer = readCheckerAnswer(answer_.get(), AnswerPart::whole, deadline);
    if (answer && *answer == credential_checker_protocol::accepted) {
        const int error = waitForSuccess(deadline);
        if (error != 0) {
            return checkerError(error, "end of the program");
        }
    }
    return answer;
}

int CheckerProcess::waitForSuccess(SteadyDeadline deadline) const {
    if (ended_.isOpen()) {
        const int error = pollUntil(ended_.get(), POLLIN, deadline);
        if (error != 0) {
            return error;
        }
    }
    siginfo_t state{};
    if (!isUnreaped(process_, state)) {
        // Where this process does not take notice of its children, or something else in it has
        // reaped this one, that it has ended is enough.
        return errno == ECHILD ? 0 : errno;
    }
    return state.si_code == CLD_EXITED && state.si_status == 0 ? 0 : EPROTO;
}

}  // namespace velunor
