#include "tools/osupdate_checkpass/pam/pam_check.h"

#include <fcntl.h>
#include <security/pam_appl.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <string>
#include <string_view>
#include <utility>

#include "platform/posix/file_descriptor.h"
#include "platform/posix/password_database.h"

namespace velunor {
namespace {

/// What PAM's modules may ask: for the password, once. A second question could be for something
/// else, such as the code of a token, which must not get the password.
struct Conversation {
    std::string_view password;
    bool asked = false;
};

int converse(int count, const pam_message** messages, pam_response** responses, void* data) {
    if (count <= 0 || count > PAM_MAX_NUM_MSG) {
        return PAM_CONV_ERR;
    }
    auto& conversation = *static_cast<Conversation*>(data);
    int question = -1;
    for (int index = 0; index < count; ++index) {
        const int style = messages[index]->msg_style;
        if (style == PAM_TEXT_INFO || style == PAM_ERROR_MSG) {
            continue;
        }
        if (style != PAM_PROMPT_ECHO_OFF || std::exchange(conversation.asked, true)) {
            return PAM_CONV_ERR;
        }
        question = index;
    }
    // PAM wipes and frees the answers.
    auto* answers = static_cast<pam_response*>(
        std::calloc(static_cast<std::size_t>(count), sizeof(pam_response)));
    if (answers == nullptr) {
        return PAM_BUF_ERR;
    }
    if (question >= 0) {
        const std::string_view password = conversation.password;
        answers[question].resp = strndup(password.data(), password.size());
        if (answers[question].resp == nullptr) {
            std::free(answers);
            return PAM_CONV_ERR;
        }
    }
    *responses = answers;
    return PAM_SUCCESS;
}

/// Whether PAM still means the account that was asked about. A module may have put another one in
/// its place, whose password it then was.
bool meansAccount(pam_handle_t* pam, std::string_view userName) {
    const void* item = nullptr;
    return pam_get_item(pam, PAM_USER, &item) == PAM_SUCCESS && item != nullptr &&
           userName == static_cast<const char*>(item);
}

/// The account's name, or its number where it has none.
std::string nameOf(uid_t user) {
    return passwordEntryOf(user).value_or(PasswordEntry{}).name.value_or(std::to_string(user));
}

int authenticate(pam_handle_t* pam, std::string_view userName, const Conversation& conversation) {
    int code = pam_authenticate(pam, PAM_SILENT | PAM_DISALLOW_NULL_AUTHTOK);
    if (code != PAM_SUCCESS) {
        return code;
    }
    // A stack may be satisfied without the password, by a fingerprint for instance, and then has
    // not told anything about it.
    if (!conversation.asked) {
        return PAM_AUTH_ERR;
    }
    if (!meansAccount(pam, userName)) {
        return PAM_USER_UNKNOWN;
    }
    code = pam_acct_mgmt(pam, PAM_SILENT | PAM_DISALLOW_NULL_AUTHTOK);
    if (code == PAM_SUCCESS && !meansAccount(pam, userName)) {
        return PAM_USER_UNKNOWN;
    }
    return code;
}

[[noreturn]] void runCheck(const std::function<int()>& check, int verdict, pid_t parent) {
    // Without a terminal no module can turn to the person behind the program's back.
    setsid();
    prctl(PR_SET_PDEATHSIG, SIGKILL);
    if (getppid() != parent) {
        _exit(EXIT_FAILURE);
    }
    const int code = check();
    // A verdict that does not arrive is none.
    [[maybe_unused]] const ssize_t written = ::write(verdict, &code, sizeof code);
    _exit(EXIT_SUCCESS);
}

/// Ends a process and its group, so that nothing which a module started is left over.
void endWithGroup(pid_t process) {
    kill(-process, SIGKILL);
    // It may not have come so far as to have a group.
    kill(process, SIGKILL);
    waitpid(process, nullptr, 0);
}

}  // namespace

int askPam(const CheckRequest& request, uid_t caller) {
    Conversation conversation{request.password()};
    const pam_conv callback{converse, &conversation};
    const std::string userName(request.userName());
    pam_handle_t* pam = nullptr;
    int code = pam_start("velunor-osupdate", userName.c_str(), &callback, &pam);
    if (code != PAM_SUCCESS) {
        return code;
    }
    code = pam_set_item(pam, PAM_RUSER, nameOf(caller).c_str());
    if (code == PAM_SUCCESS) {
        code = authenticate(pam, userName, conversation);
    }
    const int end = pam_end(pam, code);
    return code == PAM_SUCCESS ? end : code;
}

int guardedCheck(const std::function<int()>& check,
                 std::chrono::steady_clock::time_point deadline) {
    std::array<int, 2> ends{};
    if (pipe2(ends.data(), O_CLOEXEC) != 0) {
        return PAM_SYSTEM_ERR;
    }
    FileDescriptor reader(ends[0]);
    FileDescriptor writer(ends[1]);
    const pid_t parent = getpid();
    const pid_t child = fork();
    if (child < 0) {
        return PAM_SYSTEM_ERR;
    }
    if (child == 0) {
        reader = FileDescriptor();
        runCheck(check, writer.get(), parent);
    }
    writer = FileDescriptor();
    int code = PAM_ABORT;
    const bool told = pollUntil(reader.get(), POLLIN, deadline) == 0 &&
                      read(reader.get(), &code, sizeof code) == sizeof code;
    endWithGroup(child);
    return told ? code : PAM_ABORT;
}

}  // namespace velunor
