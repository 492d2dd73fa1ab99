#include "tools/osupdate_checkpass/ldap/ldap_check.h"

#include <algorithm>
#include <array>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "platform/owned.h"
#include "tools/osupdate_checkpass/ldap/account_filter.h"

namespace velunor {
namespace {

/// A text that the library has made for its caller.
using LibraryText = Owned<char, ldap_memfree>;
using Message = Owned<LDAPMessage, ldap_msgfree>;

/// What a server answers to a request.
struct Answer {
    int code = LDAP_LOCAL_ERROR;
    LibraryText diagnostic;
    Owned<LDAPControl*, ldap_controls_free> controls;
};

LibraryText textOption(LDAP* handle, int option) {
    char* text = nullptr;
    ldap_get_option(handle, option, static_cast<void*>(&text));
    return LibraryText(text);
}

std::string_view view(const LibraryText& text) {
    return text == nullptr ? std::string_view() : std::string_view(text.get());
}

/// The error of a step that has failed without an answer.
DirectoryError failure(LDAP* handle, std::string_view what) {
    int code = LDAP_SUCCESS;
    ldap_get_option(handle, LDAP_OPT_RESULT_CODE, &code);
    // What TLS says about a refused certificate gets lost inside the library.
    const LibraryText detail = textOption(handle, LDAP_OPT_DIAGNOSTIC_MESSAGE);
    const bool isKnown = view(detail) != "(unknown error code)";
    return ldapError(code == LDAP_SUCCESS ? LDAP_SERVER_DOWN : code, what,
                     isKnown ? view(detail) : std::string_view());
}

/// Waits for the next answer to a request; null when `sent`, the code of sending it, is a failure's
/// or the connection is lost.
Message nextMessage(LDAP* handle, int sent, int request) {
    LDAPMessage* message = nullptr;
    if (sent == LDAP_SUCCESS) {
        ldap_result(handle, request, LDAP_MSG_ONE, nullptr, &message);
    }
    return Message(message);
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

std::optional<DirectoryError> askForTls(LDAP* handle, const StepLimit& limit) {
    constexpr const char* what = "The server does not answer to the request for TLS";
    const Step step(limit, ldapError(LDAP_TIMEOUT, what));
    int request = 0;
    const int sent = ldap_start_tls(handle, nullptr, nullptr, &request);
    const Message message = nextMessage(handle, sent, request);
    if (message == nullptr) {
        return failure(handle, what);
    }
    const Answer answer = answerIn(handle, message.get());
    if (answer.code != LDAP_SUCCESS) {
        return ldapError(answer.code, "The server does not offer TLS", view(answer.diagnostic));
    }
    return std::nullopt;
}

/// Refuses a session whose version is too old or whose cipher would keep passwords.
std::optional<DirectoryError> checkSession(LDAP* handle) {
    // The library's option for the oldest version does nothing over GnuTLS, so that what has been
    // agreed on is looked at, by the names that either library has for it.
    constexpr std::array<std::string_view, 4> versions{"TLS1.2", "TLS1.3", "TLSv1.2", "TLSv1.3"};
    const LibraryText version = textOption(handle, LDAP_OPT_X_TLS_VERSION);
    if (std::find(versions.begin(), versions.end(), view(version)) == versions.end()) {
        return ldapError(LDAP_CONNECT_ERROR, "The server's version of TLS is too old",
                         view(version));
    }
    // GnuTLS encrypts with these from a copy that it frees as it is, a password included.
    const LibraryText cipher = textOption(handle, LDAP_OPT_X_TLS_CIPHER);
    if (view(cipher).find("CCM") != std::string_view::npos) {
        return ldapError(LDAP_CONNECT_ERROR, "The server's cipher is not supported", view(cipher));
    }
    return std::nullopt;
}

std::optional<DirectoryError> startTls(LDAP* handle, const StepLimit& limit) {
    constexpr const char* what = "TLS cannot be established with a trusted certificate";
    const Step step(limit, ldapError(LDAP_TIMEOUT, what));
    return ldap_install_tls(handle) == LDAP_SUCCESS ? checkSession(handle) : failure(handle, what);
}

/// Why an entry that the server has found is not that of the account; none when it is.
std::optional<DirectoryError> nameError(LDAP* handle, LDAPMessage* entry,
                                        const AccountFilter& filter) {
    BerElement* position = nullptr;
    LibraryText attribute(ldap_first_attribute(handle, entry, &position));
    const Owned<BerElement, [](BerElement* element) { ber_free(element, 0); }> owner(position);
    if (attribute == nullptr) {
        return ldapError(LDAP_INSUFFICIENT_ACCESS, "The account's name cannot be read");
    }
    for (; attribute != nullptr; attribute.reset(ldap_next_attribute(handle, entry, position))) {
        const Owned<berval*, ldap_value_free_len> values(
            ldap_get_values_len(handle, entry, attribute.get()));
        for (berval** value = values.get(); value != nullptr && *value != nullptr; ++value) {
            const std::string_view text((*value)->bv_val, (*value)->bv_len);
            if (std::find(filter.names.begin(), filter.names.end(), text) != filter.names.end()) {
                return std::nullopt;
            }
        }
    }
    return ldapError(LDAP_NO_SUCH_OBJECT, "No account has exactly that name");
}

/// The name of the one entry below `base` that is the account's. None or several are an error.
DirectoryResult<std::string> findEntry(LDAP* handle, const std::string& base,
                                       const AccountFilter& filter, const StepLimit& limit) {
    constexpr const char* what = "The account cannot be looked up";
    constexpr int mostEntries = 2;
    constexpr int withValues = 0;
    std::vector<char*> attributes;
    for (const std::string& attribute : filter.attributes) {
        attributes.push_back(const_cast<char*>(attribute.c_str()));
    }
    attributes.push_back(nullptr);
    const Step step(limit, ldapError(LDAP_TIMEOUT, what));
    timeval timeLimit{limit.limit.count(), 0};
    int request = 0;
    const int sent = ldap_search_ext(handle, base.c_str(), LDAP_SCOPE_SUBTREE, filter.text.c_str(),
                                     attributes.data(), withValues, nullptr, nullptr, &timeLimit,
                                     mostEntries, &request);
    if (sent == LDAP_FILTER_ERROR) {
        return ldapError(sent, what);
    }
    std::optional<std::string> name;
    std::optional<DirectoryError> error;
    while (const Message message = nextMessage(handle, sent, request)) {
        if (ldap_msgtype(message.get()) == LDAP_RES_SEARCH_ENTRY) {
            if (name) {
                return ldapError(LDAP_LOCAL_ERROR, "Several accounts have that name");
            }
            const LibraryText found(ldap_get_dn(handle, message.get()));
            name = view(found);
            error = nameError(handle, message.get(), filter);
        } else if (ldap_msgtype(message.get()) == LDAP_RES_SEARCH_RESULT) {
            const Answer answer = answerIn(handle, message.get());
            if (answer.code != LDAP_SUCCESS) {
                return ldapError(answer.code, what, view(answer.diagnostic));
            }
            if (!name) {
                return ldapError(LDAP_NO_SUCH_OBJECT, "No account has that name");
            }
            if (error) {
                return *std::move(error);
            }
            return *std::move(name);
        }
    }
    return failure(handle, what);
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

std::optional<DirectoryError> bind(LDAP* handle, const std::string& name, std::string_view password,
                                   const StepLimit& limit) {
    constexpr const char* silent = "The server does not answer to name and password";
    constexpr const char* refused = "The server does not accept name and password";
    std::array<char, sizeof LDAP_CONTROL_PASSWORDPOLICYREQUEST> policyName{
        LDAP_CONTROL_PASSWORDPOLICYREQUEST};
    LDAPControl policy{};
    policy.ldctl_oid = policyName.data();
    std::array<LDAPControl*, 2> controls{&policy, nullptr};
    berval credentials{password.size(), const_cast<char*>(password.data())};
    const Step step(limit, ldapError(LDAP_TIMEOUT, silent));
    int request = 0;
    const int sent = ldap_sasl_bind(handle, name.c_str(), LDAP_SASL_SIMPLE, &credentials,
                                    controls.data(), nullptr, &request);
    const Message message = nextMessage(handle, sent, request);
    if (message == nullptr) {
        return failure(handle, silent);
    }
    const Answer answer = answerIn(handle, message.get());
    if (answer.code != LDAP_SUCCESS) {
        // A server may repeat what it refuses.
        const bool repeats = view(answer.diagnostic).find(password) != std::string_view::npos;
        return ldapError(answer.code, refused,
                         repeats ? std::string_view() : view(answer.diagnostic));
    }
    const std::string_view reason = passwordPolicyRefusal(handle, answer.controls.get());
    if (!reason.empty()) {
        return ldapError(LDAP_INVALID_CREDENTIALS, refused, reason);
    }
    return std::nullopt;
}

}  // namespace

DirectoryResult<LdapHandle> openDirectory(const DirectoryNodeSettings& settings,
                                          const StepLimit& limit) {
    prepareDirectoryLibrary();
    auto server = connectToServer(settings.uri, limit);
    if (!server) {
        return std::move(server).error();
    }
    auto handle = newLdapHandle(std::move(server->socket), settings);
    if (!handle) {
        return handle;
    }
    LDAP* const raw = handle->get();
    auto error = server->beginsWithTls ? std::nullopt : askForTls(raw, limit);
    if (!error) {
        error = startTls(raw, limit);
    }
    if (error) {
        return *std::move(error);
    }
    return handle;
}

std::optional<DirectoryError> askDirectory(LDAP* handle, const DirectoryNodeSettings& settings,
                                           const CheckRequest& request, const StepLimit& limit) {
    // No directory has a longer name, and a server's answer should not grow without end.
    constexpr std::size_t longestEntryName = 2048;
    const auto filter = accountFilter(settings.userFilter, request.userName());
    if (!filter) {
        return ldapError(LDAP_FILTER_ERROR, "The filter for accounts has no place for a name");
    }
    const auto entry = findEntry(handle, settings.userBase, *filter, limit);
    if (!entry) {
        return entry.error();
    }
    // The directory's own root has no name, and a bind without one is a bind as nobody; so is one
    // without a password, which no request has.
    if (entry->empty() || entry->size() > longestEntryName) {
        return ldapError(LDAP_LOCAL_ERROR, "The account's entry cannot be bound as");
    }
    return bind(handle, *entry, request.password(), limit);
}

}  // namespace velunor
