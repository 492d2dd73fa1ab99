// A PAM module whose only argument says what it does. The right password is "right".

#include <fcntl.h>
#include <security/pam_modules.h>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <chrono>
#include <csignal>
#include <cstdlib>
#include <fstream>
#include <functional>
#include <map>
#include <string>
#include <string_view>
#include <thread>
#include <vector>

#define PAM_MODULE_FUNCTION extern "C" __attribute__((visibility("default"))) int

namespace {

struct Message {
    int style = PAM_PROMPT_ECHO_OFF;
    const char* text = "Password: ";
};

/// The answers to messages that are sent at once; none when the program refuses to answer.
std::vector<std::string> ask(pam_handle_t* pam, const std::vector<Message>& messages) {
    const void* item = nullptr;
    pam_get_item(pam, PAM_CONV, &item);
    const auto* conversation = static_cast<const pam_conv*>(item);
    std::vector<pam_message> records;
    records.reserve(messages.size());
    for (const Message& message : messages) {
        records.push_back({message.style, message.text});
    }
    std::vector<const pam_message*> pointers;
    pointers.reserve(records.size());
    for (const pam_message& record : records) {
        pointers.push_back(&record);
    }
    pam_response* responses = nullptr;
    if (conversation->conv(static_cast<int>(records.size()), pointers.data(), &responses,
                           conversation->appdata_ptr) != PAM_SUCCESS) {
        return {};
    }
    std::vector<std::string> answers;
    for (std::size_t index = 0; index < records.size(); ++index) {
        answers.emplace_back(responses[index].resp == nullptr ? "" : responses[index].resp);
        std::free(responses[index].resp);
    }
    std::free(responses);
    return answers;
}

int verdict(bool right) {
    return right ? PAM_SUCCESS : PAM_AUTH_ERR;
}

int accept(pam_handle_t* pam) {
    return verdict(ask(pam, {{}}) == std::vector<std::string>{"right"});
}

/// Counts how often it is asked, and takes as long as a costly hash does, so that several at once
/// meet in the middle.
int acceptSlowly(pam_handle_t* pam) {
    std::ofstream("/run/velunor/guesses", std::ios::app) << 'x' << std::flush;
    const int code = accept(pam);
    std::this_thread::sleep_for(std::chrono::milliseconds{300});
    return code;
}

/// As one that waits for a finger first.
int acceptAfterTenSeconds(pam_handle_t* pam) {
    std::this_thread::sleep_for(std::chrono::seconds{10});
    return accept(pam);
}

/// Accepts where PAM is told that this user asks.
std::function<int(pam_handle_t*)> acceptFor(std::string_view user) {
    return [user](pam_handle_t* pam) {
        const void* item = nullptr;
        pam_get_item(pam, PAM_RUSER, &item);
        const bool isTold = item != nullptr && static_cast<const char*>(item) == user;
        return isTold ? accept(pam) : PAM_AUTHINFO_UNAVAIL;
    };
}

int hang(pam_handle_t*) {
    while (true) {
        pause();
    }
}

int hangDeaf(pam_handle_t* pam) {
    sigset_t all;
    sigfillset(&all);
    sigprocmask(SIG_SETMASK, &all, nullptr);
    return hang(pam);
}

int print(pam_handle_t*) {
    constexpr std::string_view line = "accepted\n";
    ssize_t written = 0;
    for (const int descriptor : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO}) {
        written += ::write(descriptor, line.data(), line.size());
    }
    // The streams lead nowhere, but they are open: the number of a closed one goes to the next
    // file.
    return written == 3 * static_cast<ssize_t>(line.size()) ? PAM_AUTH_ERR : PAM_SERVICE_ERR;
}

int leaveProcessBehind(pam_handle_t* pam) {
    if (fork() == 0) {
        hang(pam);
    }
    return accept(pam);
}

int askTwice(pam_handle_t* pam) {
    ask(pam, {{}});
    // The second answer alone would be right.
    return verdict(ask(pam, {{PAM_PROMPT_ECHO_OFF, "Code: "}}) ==
                   std::vector<std::string>{"right"});
}

int askTwiceAtOnce(pam_handle_t* pam) {
    return verdict(!ask(pam, {{}, {PAM_PROMPT_ECHO_OFF, "Code: "}}).empty());
}

int askVisibly(pam_handle_t* pam) {
    return verdict(!ask(pam, {{PAM_PROMPT_ECHO_ON, "login: "}}).empty());
}

int talk(pam_handle_t* pam) {
    const std::vector<std::string> expected{"", "", "right"};
    return verdict(ask(pam, {{PAM_TEXT_INFO, "Welcome"}, {PAM_ERROR_MSG, "Beware"}, {}}) ==
                   expected);
}

/// Asks among so many messages at once.
std::function<int(pam_handle_t*)> acceptAmong(std::size_t count) {
    return [count](pam_handle_t* pam) {
        std::vector<Message> messages(count, {PAM_TEXT_INFO, "Welcome"});
        messages.back() = {};
        const std::vector<std::string> answers = ask(pam, messages);
        return verdict(!answers.empty() && answers.back() == "right");
    };
}

/// Accepts where no message at all is an error.
int acceptNothingAsAnError(pam_handle_t* pam) {
    const void* item = nullptr;
    pam_get_item(pam, PAM_CONV, &item);
    const auto* conversation = static_cast<const pam_conv*>(item);
    const pam_message* none = nullptr;
    pam_response* responses = nullptr;
    const int code = conversation->conv(0, &none, &responses, conversation->appdata_ptr);
    return code == PAM_CONV_ERR ? accept(pam) : PAM_SERVICE_ERR;
}

/// How PAM was told to ask.
int flagsOfTheCall = 0;

/// Accepts where nothing is to be shown and an empty password does not count.
int acceptSilently(pam_handle_t* pam) {
    const bool isTold = flagsOfTheCall == (PAM_SILENT | PAM_DISALLOW_NULL_AUTHTOK);
    return isTold ? accept(pam) : PAM_SERVICE_ERR;
}

/// The same about an account, which asks nothing.
int succeedSilently(pam_handle_t*) {
    const bool isTold = flagsOfTheCall == (PAM_SILENT | PAM_DISALLOW_NULL_AUTHTOK);
    return isTold ? PAM_SUCCESS : PAM_ACCT_EXPIRED;
}

int forgetUser(pam_handle_t* pam) {
    const int code = accept(pam);
    pam_set_item(pam, PAM_USER, nullptr);
    return code;
}

int changeUser(pam_handle_t* pam) {
    const int code = accept(pam);
    pam_set_item(pam, PAM_USER, "other");
    return code;
}

bool isSmall(char** environment) {
    return environment[0] != nullptr && environment[1] == nullptr &&
           environment[0] == std::string("PATH=/usr/sbin:/usr/bin:/sbin:/bin");
}

/// Whether each signal does what it does to a fresh program, but SIGPIPE, which is ignored.
bool signalsAreFresh() {
    for (int number = 1; number <= SIGRTMAX; ++number) {
        struct sigaction found {};
        // The C library keeps two to itself.
        if (sigaction(number, nullptr, &found) == 0 &&
            found.sa_handler != (number == SIGPIPE ? SIG_IGN : SIG_DFL)) {
            return false;
        }
    }
    return true;
}

/// Whether the module runs with nothing of the caller's and nothing that could leak a password.
int inspectSurroundings(pam_handle_t* pam) {
    rlimit core{};
    getrlimit(RLIMIT_CORE, &core);
    constexpr int most = 1024;
    // One tells the verdict.
    int descriptors = 0;
    for (int descriptor = STDERR_FILENO + 1; descriptor < most; ++descriptor) {
        descriptors += fcntl(descriptor, F_GETFD) < 0 ? 0 : 1;
    }
    sigset_t blocked;
    sigprocmask(SIG_BLOCK, nullptr, &blocked);
    const bool closedOff = isSmall(environ) && umask(0) == 077 && core.rlim_max == 0 &&
                           prctl(PR_GET_DUMPABLE) == 0 && descriptors == 1 &&
                           sigismember(&blocked, SIGTERM) == 0 && signalsAreFresh() &&
                           open("/dev/tty", O_RDWR) < 0;
    return closedOff ? accept(pam) : PAM_AUTHINFO_UNAVAIL;
}

using Behaviour = std::function<int(pam_handle_t*)>;

const std::map<std::string_view, Behaviour>& behaviours() {
    static const std::map<std::string_view, Behaviour> all{
        {"accept", accept},
        {"accept-slowly", acceptSlowly},
        {"accept-after-ten-seconds", acceptAfterTenSeconds},
        {"accept-for-alice", acceptFor("alice")},
        {"accept-for-4003", acceptFor("4003")},
        {"hang", hang},
        {"hang-deaf", hangDeaf},
        {"print", print},
        {"leave-process", leaveProcessBehind},
        {"ask-twice", askTwice},
        {"ask-twice-at-once", askTwiceAtOnce},
        {"ask-visibly", askVisibly},
        {"talk", talk},
        {"change-user", changeUser},
        {"forget-user", forgetUser},
        {"accept-silently", acceptSilently},
        {"succeed-silently", succeedSilently},
        {"accept-among-32", acceptAmong(PAM_MAX_NUM_MSG)},
        {"accept-among-33", acceptAmong(PAM_MAX_NUM_MSG + 1)},
        {"accept-nothing-as-an-error", acceptNothingAsAnError},
        {"inspect", inspectSurroundings},
        {"crash", [](pam_handle_t*) { return std::raise(SIGSEGV); }},
        {"exit", [](pam_handle_t*) -> int { std::exit(EXIT_SUCCESS); }},
        {"succeed", [](pam_handle_t*) { return PAM_SUCCESS; }},
        {"must-change", [](pam_handle_t*) { return PAM_NEW_AUTHTOK_REQD; }},
        {"rename", [](pam_handle_t* pam) { return pam_set_item(pam, PAM_USER, "other"); }}};
    return all;
}

int behave(pam_handle_t* pam, int flags, int count, const char** arguments) {
    flagsOfTheCall = flags;
    return count == 1 ? behaviours().at(arguments[0])(pam) : PAM_SERVICE_ERR;
}

}  // namespace

PAM_MODULE_FUNCTION pam_sm_authenticate(pam_handle_t* pam, int flags, int count,
                                        const char** arguments) {
    return behave(pam, flags, count, arguments);
}

PAM_MODULE_FUNCTION pam_sm_setcred(pam_handle_t*, int, int, const char**) {
    return PAM_SUCCESS;
}

PAM_MODULE_FUNCTION pam_sm_acct_mgmt(pam_handle_t* pam, int flags, int count,
                                     const char** arguments) {
    return behave(pam, flags, count, arguments);
}
