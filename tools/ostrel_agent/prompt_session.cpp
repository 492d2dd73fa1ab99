#include "tools/ostrel_agent/prompt_session.h"

#include <sys/epoll.h>
#include <sys/wait.h>
#include <systemd/sd-event.h>
#include <systemd/sd-login.h>
#include <unistd.h>

#include <csignal>
#include <cstdlib>
#include <initializer_list>
#include <optional>
#include <span>
#include <string_view>
#include <system_error>
#include <utility>
#include <vector>

#include "platform/linux/session/bus_handles.h"
#include "platform/owned.h"
#include "platform/posix/file_descriptor.h"
#include "platform/posix/process.h"
#include "platform/text.h"
#include "prompt/delivery.h"
#include "prompt/os_update_notification_response.h"
#include "tools/ostrel_agent/agent_service_server.h"
#include "tools/ostrel_agent/prompt_user.h"

namespace velunor {
namespace {

constexpr const char* busLost = "the message bus is gone";
/// How long a prompt that was told to end has before it is killed.
constexpr std::uint64_t endingMicroseconds = 10'000'000;

using Loop = Owned<sd_event, sd_event_unref>;

Loop makeLoop() {
    sigset_t handled;
    sigemptyset(&handled);
    for (const int number : {SIGINT, SIGTERM, SIGHUP, SIGCHLD}) {
        sigaddset(&handled, number);
    }
    sigprocmask(SIG_BLOCK, &handled, nullptr);
    sd_event* loop = nullptr;
    sd_event_new(&loop);
    return Loop(loop);
}

/// Has the loop call `handler`, or end where there is none, at each signal that asks the program to
/// end. A SIGHUP that is ignored stays so: whoever started the program with nohup(1) means it.
void addEndingSignals(sd_event* loop, sd_event_signal_handler_t handler, void* userdata) {
    struct sigaction inherited {};
    sigaction(SIGHUP, nullptr, &inherited);
    for (const int number : {SIGINT, SIGTERM, SIGHUP}) {
        if (number != SIGHUP || inherited.sa_handler != SIG_IGN) {
            sd_event_add_signal(loop, nullptr, number, handler, userdata);
        }
    }
}

/// Prints `begin`, the bytes as one line that does no harm to a terminal, and a line end; whether
/// they reached standard output. They may hold a password, so no copy stays: not in this memory,
/// and none in a buffer of standard output, which is passed by.
bool print(std::string_view begin, std::string_view bytes, EscapeStyle style) {
    Secret line(begin);
    putInOneLine(bytes, style, [&](std::string_view piece) { line.append(piece); });
    line.append("\n");
    return writeWhole(STDOUT_FILENO, line.reveal()) == 0;
}

/// 0 for the first process, and for one that is not there.
pid_t parentOf(pid_t process) {
    sd_bus_creds* raw = nullptr;
    if (sd_bus_creds_new_from_pid(&raw, process, SD_BUS_CREDS_PPID) < 0) {
        return 0;
    }
    const BusCredentialsHandle credentials(raw);
    // What is not told stays as it is.
    pid_t parent = 0;
    sd_bus_creds_get_ppid(raw, &parent);
    return parent;
}

/// Whether `process` is `ancestor` or one of its descendants.
bool descendsFrom(pid_t process, pid_t ancestor) {
    while (process > 0 && process != ancestor) {
        process = parentOf(process);
    }
    return process > 0;
}

/// The running prompt and what has become of it.
class PromptSession {
  public:
    PromptSession(const PromptCommand& command, std::optional<PromptUser> user, ServiceBus bus)
        : command_(command),
          user_(std::move(user)),
          bus_(bus),
          loop_(makeLoop()),
          server_([this](AgentRequest request) { return receive(std::move(request)); }) {}

    AgentExit run() {
        const std::string bus = bus_ == ServiceBus::system ? "system" : "session";
        complain("using the " + bus + " bus");
        // The prompt would look for the service on the system bus where the settings name none.
        setenv("VELUNOR_AGENT_BUS", bus.c_str(), 1);
        if (const std::string error = server_.start(bus_, loop_.get()); !error.empty()) {
            return fail(error, AgentExit::noService);
        }
        if (const std::string error = startPrompt(); !error.empty()) {
            return fail(error, AgentExit::noAnswer);
        }
        watch();
        if (sd_event_loop(loop_.get()) != 0) {
            // Nobody can answer a prompt that is cut off from its service; it ends with this
            // process.
            return fail(busLost, AgentExit::noService);
        }
        return outcome();
    }

  private:
    std::string receive(AgentRequest request) {
        if (request.key != answerKey) {
            return "Unknown key";
        }
        // Anybody on the bus may send one.
        if (user_ ? !user_->hasStarted(request.sender, request.user)
                  : !descendsFrom(request.sender, prompt_)) {
            complain("another program sent an answer");
            return "Not the prompt";
        }
        if (!answer_) {
            answer_ = std::move(request.message);
        }
        return "OK";
    }

    std::string startPrompt() {
        std::vector<std::string> words{command_.program.empty()
                                           ? LinuxProcessInfo().bundlePath() + "/VelunorOSUpdate"
                                           : command_.program};
        words.insert(words.end(), command_.arguments.begin(), command_.arguments.end());
        if (user_) {
            words = user_->inSession(words);
        } else {
            // It has the kernel end the prompt where this process is killed and nobody would hear
            // it.
            const std::initializer_list<std::string> starter{"/usr/bin/setpriv", "--pdeathsig",
                                                             "TERM", "--"};
            words.insert(words.begin(), starter);
        }
        // Standard output belongs to the answer alone.
        const int error = spawn({.program = words.front(),
                                 .arguments = std::span(words).subspan(1),
                                 .streams = {.output = STDERR_FILENO, .error = callersStream}},
                                prompt_);
        return error == 0 ? std::string()
                          : words.front() + ": " + std::generic_category().message(error);
    }

    void watch() {
        sd_event* loop = loop_.get();
        sd_event_add_child(loop, nullptr, prompt_, WEXITED, promptEnded, this);
        addEndingSignals(loop, interrupted, this);
        if (command_.timeout) {
            sd_event_add_time_relative(
                loop, nullptr, CLOCK_MONOTONIC,
                static_cast<std::uint64_t>(std::chrono::microseconds(*command_.timeout).count()), 0,
                timedOut, this);
        }
        if (user_) {
            sd_login_monitor* monitor = nullptr;
            sd_login_monitor_new("session", &monitor);
            sessions_.reset(monitor);
            sd_event_add_io(loop, nullptr, sd_login_monitor_get_fd(monitor), EPOLLIN,
                            sessionsChanged, this);
        }
    }

    void endPrompt() {
        kill(prompt_, SIGTERM);
        sd_event_add_time_relative(loop_.get(), nullptr, CLOCK_MONOTONIC, endingMicroseconds, 0,
                                   promptStays, this);
    }

    static int promptEnded(sd_event_source*, const siginfo_t* ending, void* userdata) {
        auto& session = *static_cast<PromptSession*>(userdata);
        session.status_ = ending->si_code == CLD_EXITED ? ending->si_status : -1;
        return sd_event_exit(session.loop_.get(), 0);
    }

    static int interrupted(sd_event_source*, const signalfd_siginfo*, void* userdata) {
        static_cast<PromptSession*>(userdata)->endPrompt();
        return 0;
    }

    static int timedOut(sd_event_source*, std::uint64_t, void* userdata) {
        auto& session = *static_cast<PromptSession*>(userdata);
        session.timedOut_ = true;
        session.endPrompt();
        return 0;
    }

    static int sessionsChanged(sd_event_source*, int, std::uint32_t, void* userdata) {
        auto& session = *static_cast<PromptSession*>(userdata);
        sd_login_monitor_flush(session.sessions_.get());
        // A user service manager may outlive the session, and a prompt that nobody sees with it.
        if (!session.user_->isThere()) {
            session.endPrompt();
        }
        return 0;
    }

    static int promptStays(sd_event_source*, std::uint64_t, void* userdata) {
        kill(static_cast<PromptSession*>(userdata)->prompt_, SIGKILL);
        return 0;
    }

    [[nodiscard]] AgentExit outcome() const {
        if (!answer_) {
            return withoutAnswer();
        }
        const auto response = decodeJson(answer_->reveal());
        if (!response) {
            return fail("the answer is malformed: " + response.error().debugDescription,
                        AgentExit::noAnswer);
        }
        if (!print({}, answer_->reveal(), EscapeStyle::json)) {
            return fail("the answer cannot be written", AgentExit::noAnswer);
        }
        return std::holds_alternative<Proceed>(response->answer) ? AgentExit::proceed
                                                                 : AgentExit::postpone;
    }

    [[nodiscard]] AgentExit withoutAnswer() const {
        if (timedOut_) {
            return fail("no answer in time", AgentExit::timeout);
        }
        if (user_ && status_ == static_cast<int>(AgentExit::noDesktop)) {
            return fail("the session has no display", AgentExit::noDesktop);
        }
        if (user_ && user_->leaves()) {
            return fail("the session ended before the answer", AgentExit::sessionEnded);
        }
        return fail("the prompt ended without an answer", AgentExit::noAnswer);
    }

    const PromptCommand& command_;
    /// Who is asked where it is not the caller.
    std::optional<PromptUser> user_;
    /// Tells when sessions come and go.
    Owned<sd_login_monitor, sd_login_monitor_unref> sessions_;
    ServiceBus bus_;
    Loop loop_;
    AgentServiceServer server_;
    pid_t prompt_ = 0;
    bool timedOut_ = false;
    /// What the prompt ended with; -1 when a signal ended it.
    int status_ = -1;
    std::optional<Secret> answer_;
};

}  // namespace

AgentExit runPrompt(const PromptCommand& command, const AgentSettings& settings) {
    auto user = PromptUser::find(command);
    if (!user) {
        return fail(user.error().reason, user.error().status);
    }
    // Nobody but root may have the service's name on the system bus.
    const ServiceBus usual = geteuid() == 0 ? ServiceBus::system : ServiceBus::session;
    const ServiceBus bus = settings.bus.value_or(usual);
    if (*user && bus != ServiceBus::system) {
        return fail("the settings name the session's bus, where another user is not heard",
                    AgentExit::noService);
    }
    return PromptSession(command, *std::move(user), bus).run();
}

AgentExit runService(const ServeCommand& command, ServiceBus bus) {
    const Loop loop = makeLoop();
    AgentServiceServer server([&](const AgentRequest& request) {
        const std::string_view message = request.message.reveal();
        // The sender has no say in how the line begins.
        const std::string user = request.user ? std::to_string(*request.user) : "?";
        if (!print(user + " " + inOneLine(request.key) + " ", message,
                   decodeJson(message) ? EscapeStyle::json : EscapeStyle::log)) {
            complain("a request cannot be written");
        }
        if (command.once) {
            sd_event_exit(loop.get(), 0);
        }
        return command.reply;
    });
    if (const std::string error = server.start(bus, loop.get()); !error.empty()) {
        return fail(error, AgentExit::noService);
    }
    addEndingSignals(loop.get(), nullptr, nullptr);
    complain("serving");
    if (sd_event_loop(loop.get()) != 0) {
        return fail(busLost, AgentExit::noService);
    }
    return AgentExit::proceed;
}

}  // namespace velunor
