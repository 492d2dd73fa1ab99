#include "tools/osupdate_checkpass/pam/pam_check.h"

#include <security/pam_appl.h>

#include <cstdlib>
#include <cstring>
#include <string>
#include <string_view>

#include "platform/secret.h"

namespace velunor {
namespace {

/// What PAM's modules may ask: for the password, once. A second question could be for something
/// else, such as the code of a token, which must not get the password.
struct Conversation {
    std::string_view password;
    bool asked = false;
};

/// The answer to one message; null for one that needs none or gets none.
char* answerTo(const pam_message& message, Conversation& conversation) {
    if (message.msg_style != PAM_PROMPT_ECHO_OFF || conversation.asked) {
        return nullptr;
    }
    conversation.asked = true;
    // PAM wipes and frees it.
    return strndup(conversation.password.data(), conversation.password.size());
}

bool isNotice(const pam_message& message) {
    return message.msg_style == PAM_TEXT_INFO || message.msg_style == PAM_ERROR_MSG;
}

void drop(pam_response* responses, int count) {
    for (int index = 0; index < count; ++index) {
        char* text = responses[index].resp;
        if (text != nullptr) {
            wipe(text, std::strlen(text));
            std::free(text);
        }
    }
    std::free(responses);
}

int converse(int count, const pam_message** messages, pam_response** responses, void* data) {
    if (count <= 0 || count > PAM_MAX_NUM_MSG) {
        return PAM_CONV_ERR;
    }
    auto* answers = static_cast<pam_response*>(
        std::calloc(static_cast<std::size_t>(count), sizeof(pam_response)));
    if (answers == nullptr) {
        return PAM_BUF_ERR;
    }
    auto& conversation = *static_cast<Conversation*>(data);
    for (int index = 0; index < count; ++index) {
        if (isNotice(*messages[index])) {
            continue;
        }
        answers[index].resp = answerTo(*messages[index], conversation);
        if (answers[index].resp == nullptr) {
            drop(answers, count);
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

}  // namespace

int askPam(const CheckRequest& request) {
    Conversation conversation{request.password()};
    const pam_conv callback{converse, &conversation};
    const std::string userName(request.userName());
    pam_handle_t* pam = nullptr;
    int code = pam_start("velunor-osupdate", userName.c_str(), &callback, &pam);
    if (code != PAM_SUCCESS) {
        return code;
    }
    code = authenticate(pam, userName, conversation);
    const int end = pam_end(pam, code);
    return code == PAM_SUCCESS ? end : code;
}

}  // namespace velunor
