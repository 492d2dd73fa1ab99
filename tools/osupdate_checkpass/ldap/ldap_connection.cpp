#include "tools/osupdate_checkpass/ldap/ldap_connection.h"

#include <algorithm>
#include <array>
#include <utility>

#include "tools/osupdate_checkpass/ldap/ldap_error.h"
#include "tools/osupdate_checkpass/ldap/ldap_options.h"
#include "tools/osupdate_checkpass/ldap/ldap_socket.h"

namespace velunor {
namespace {

/// A text that the library has made for its caller.
using LibraryText = std::unique_ptr<char, void (*)(void*)>;

/// What a server answers to a request.
struct Answer {
    int code = LDAP_LOCAL_ERROR;
    LibraryText diagnostic{nullptr, ldap_memfree};
    std::unique_ptr<LDAPControl*, void (*)(LDAPControl**)> controls{nullptr, ldap_controls_free};
};

LibraryText textOption(LDAP* handle, int option) {
    char* text = nullptr;
    ldap_get_option(handle, option, static_cast<void*>(&text));
    return {text, ldap_memfree};
}

std::string_view view(const LibraryText& text) {
    return text == nullptr ? std::string_view() : std::string_view(text.get());
}

Answer answerIn(LDAP* handle, LDAPMessage* message) {
    constexpr int keepMessage = 0;
    Answer answer;
    char* diagnostic = nullptr;
    LDAPControl** controls = nullptr;
    const int read = ldap_parse_result(handle, message, &answer.code, nullptr, &diagnostic, nullptr,
                                       &controls, keepMessage);
    answer.diagnostic.reset(diagnostic);
    answer.controls.reset(controls);
    if (read != LDAP_SUCCESS) {
        answer.code = read;
    }
    return answer;
}

/// Why an account that the server has let in may not do anything yet; empty when it may.
std::string_view passwordPolicyRefusal(LDAP* handle, LDAPControl** controls) {
    // The server of another maker tells it in an older way.
    if (ldap_control_find(LDAP_CONTROL_X_PASSWORD_EXPIRED, controls, nullptr) != nullptr) {
        return "the password must be changed";
    }
    LDAPControl* const policy =
        ldap_control_find(LDAP_CONTROL_PASSWORDPOLICYRESPONSE, controls, nullptr);
    if (policy == nullptr) {
        return {};
    }
    ber_int_t secondsLeft = 0;
    ber_int_t loginsLeft = 0;
    LDAPPasswordPolicyError error = PP_noError;
    if (ldap_parse_passwordpolicy_control(handle, policy, &secondsLeft, &loginsLeft, &error) !=
        LDAP_SUCCESS) {
        return "the password policy's answer is not understood";
    }
    return error == PP_noError ? std::string_view() : ldap_passwordpolicy_err2txt(error);
}

}  // namespace

DirectoryResult<std::unique_ptr<LdapConnection>> LdapConnection::open(
    const DirectoryNodeSettings& settings, StepLimit& steps) {
    auto server = connectToServer(settings.uri, steps);
    if (!server) {
        return std::move(server).error();
    }
    LDAP* const handle = newLdapHandle(std::move(server->socket), settings.uri);
    if (handle == nullptr) {
        return ldapError(LDAP_LOCAL_ERROR, "The connection cannot be set up");
    }
    std::unique_ptr<LdapConnection> connection(new LdapConnection(handle, steps));
    if (auto error = connection->start(settings, !server->beginsWithTls)) {
        return *std::move(error);
    }
    return connection;
}

LdapConnection::~LdapConnection() {
    steps_.end();
    ldap_unbind_ext(handle_, nullptr, nullptr);
}

std::optional<DirectoryError> LdapConnection::start(const DirectoryNodeSettings& settings,
                                                    bool upgrades) {
    constexpr const char* what = "TLS cannot be established with a trusted certificate";
    if (!setLdapOptions(handle_, settings)) {
        return ldapError(LDAP_LOCAL_ERROR, "TLS cannot be set up with the trusted authorities",
                         authoritiesOf(settings));
    }
    if (upgrades) {
        if (auto error = askForTls()) {
            return error;
        }
    }
    beginStep(what);
    const int installed = ldap_install_tls(handle_);
    steps_.end();
    return installed == LDAP_SUCCESS ? checkSession() : failure(what);
}

std::optional<DirectoryError> LdapConnection::askForTls() {
    constexpr const char* what = "The server does not answer to the request for TLS";
    beginStep(what);
    int request = 0;
    const int code = ldap_start_tls(handle_, nullptr, nullptr, &request);
    const Message message = code == LDAP_SUCCESS ? nextMessage(request) : nullptr;
    if (message == nullptr) {
        return failure(what);
    }
    const Answer answer = answerIn(handle_, message.get());
    if (answer.code != LDAP_SUCCESS) {
        return ldapError(answer.code, "The server does not offer TLS", view(answer.diagnostic));
    }
    return std::nullopt;
}

std::optional<DirectoryError> LdapConnection::checkSession() {
    // The library's option for the oldest version does nothing over GnuTLS, so that what has been
    // agreed on is looked at, by the names that either library has for it.
    constexpr std::array<std::string_view, 4> versions{"TLS1.2", "TLS1.3", "TLSv1.2", "TLSv1.3"};
    const LibraryText version = textOption(handle_, LDAP_OPT_X_TLS_VERSION);
    if (std::find(versions.begin(), versions.end(), view(version)) == versions.end()) {
        return ldapError(LDAP_CONNECT_ERROR, "The server's version of TLS is too old",
                         view(version));
    }
    // GnuTLS encrypts with these from a copy that it frees as it is, a password included.
    const LibraryText cipher = textOption(handle_, LDAP_OPT_X_TLS_CIPHER);
    if (view(cipher).find("CCM") != std::string_view::npos) {
        return ldapError(LDAP_CONNECT_ERROR, "The server's cipher is not supported", view(cipher));
    }
    return std::nullopt;
}

DirectoryResult<std::string> LdapConnection::findEntry(const std::string& base,
                                                       const std::string& filter) {
    constexpr const char* what = "The account cannot be looked up";
    constexpr int mostEntries = 2;
    constexpr int withValues = 0;
    std::array<char, 4> noAttributes{LDAP_NO_ATTRS};
    std::array<char*, 2> attributes{noAttributes.data(), nullptr};
    beginStep(what);
    timeval limit{steps_.limit().count(), 0};
    int request = 0;
    const int sent = ldap_search_ext(handle_, base.c_str(), LDAP_SCOPE_SUBTREE, filter.c_str(),
                                     attributes.data(), withValues, nullptr, nullptr, &limit,
                                     mostEntries, &request);
    if (sent == LDAP_FILTER_ERROR) {
        return ldapError(sent, what);
    }
    std::optional<std::string> name;
    for (Message message = sent == LDAP_SUCCESS ? nextMessage(request) : nullptr;
         message != nullptr; message = nextMessage(request)) {
        if (ldap_msgtype(message.get()) == LDAP_RES_SEARCH_ENTRY) {
            if (name) {
                return ldapError(LDAP_LOCAL_ERROR, "Several accounts have that name");
            }
            const LibraryText found(ldap_get_dn(handle_, message.get()), ldap_memfree);
            name = view(found);
        } else if (ldap_msgtype(message.get()) == LDAP_RES_SEARCH_RESULT) {
            const Answer answer = answerIn(handle_, message.get());
            if (answer.code != LDAP_SUCCESS) {
                return ldapError(answer.code, what, view(answer.diagnostic));
            }
            if (!name) {
                return ldapError(LDAP_NO_SUCH_OBJECT, "No account has that name");
            }
            return *std::move(name);
        }
    }
    return failure(what);
}

std::optional<DirectoryError> LdapConnection::bind(const std::string& name,
                                                   std::string_view password) {
    constexpr const char* what = "The server does not accept name and password";
    std::array<char, sizeof LDAP_CONTROL_PASSWORDPOLICYREQUEST> policyName{
        LDAP_CONTROL_PASSWORDPOLICYREQUEST};
    LDAPControl policy{policyName.data(), {0, nullptr}, 0};
    std::array<LDAPControl*, 2> controls{&policy, nullptr};
    berval credentials{password.size(), const_cast<char*>(password.data())};
    constexpr const char* silent = "The server does not answer to name and password";
    beginStep(silent);
    int request = 0;
    const int sent = ldap_sasl_bind(handle_, name.c_str(), LDAP_SASL_SIMPLE, &credentials,
                                    controls.data(), nullptr, &request);
    const Message message = sent == LDAP_SUCCESS ? nextMessage(request) : nullptr;
    if (message == nullptr) {
        return failure(silent);
    }
    const Answer answer = answerIn(handle_, message.get());
    if (answer.code != LDAP_SUCCESS) {
        // A server may repeat what it refuses.
        const bool repeats = view(answer.diagnostic).find(password) != std::string_view::npos;
        return ldapError(answer.code, what, repeats ? std::string_view() : view(answer.diagnostic));
    }
    const std::string_view reason = passwordPolicyRefusal(handle_, answer.controls.get());
    if (!reason.empty()) {
        return ldapError(LDAP_INVALID_CREDENTIALS, what, reason);
    }
    return std::nullopt;
}

void LdapConnection::beginStep(std::string_view what) {
    steps_.begin(ldapError(LDAP_TIMEOUT, what));
}

LdapConnection::Message LdapConnection::nextMessage(int request) {
    LDAPMessage* message = nullptr;
    const int type = ldap_result(handle_, request, LDAP_MSG_ONE, nullptr, &message);
    Message owner(message);
    return type > 0 ? std::move(owner) : nullptr;
}

DirectoryError LdapConnection::failure(std::string_view what) {
    int code = LDAP_SUCCESS;
    ldap_get_option(handle_, LDAP_OPT_RESULT_CODE, &code);
    // What TLS says about a refused certificate gets lost inside the library.
    const LibraryText detail = textOption(handle_, LDAP_OPT_DIAGNOSTIC_MESSAGE);
    const bool isKnown = view(detail) != "(unknown error code)";
    return ldapError(code == LDAP_SUCCESS ? LDAP_SERVER_DOWN : code, what,
                     isKnown ? view(detail) : std::string_view());
}

}  // namespace velunor
