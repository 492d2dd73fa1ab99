// The prompt's reading of the checker's answer: one text alone accepts a password, what is told in
// a log is one line, and what the checker says of a server's error arrives.
#include <ldap.h>

#include "platform/linux/directory/credential_checker.h"
#include "platform/linux/directory/credential_checker_protocol.h"
#include "tests/fuzz/fuzzing.h"
#include "tools/osupdate_checkpass/ldap/ldap_step.h"
#include "tools/osupdate_checkpass/protocol/messages.h"

namespace velunor {
namespace {

/// Any bytes for an answer.
void checkReading(std::string_view input) {
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(10);
    const auto answer = readCheckerAnswer(streamOf(input), AnswerPart::whole, deadline);
    const bool fits = !input.empty() && input.size() <= credential_checker_protocol::longestAnswer;
    require(answer.has_value() == fits && (!fits || *answer == input));
    for (const Backend backend : {Backend::pam, Backend::ldap}) {
        const auto error = verdictIn(answer, credential_checker_protocol::accepted, backend);
        require(error.has_value() == (input != "accepted\n"));
        if (error) {
            require(error->code != 0 && isOneLine(error->message));
            require(backend == Backend::ldap || error->code > 0);
        }
    }
}

/// Any text of a server beside any code.
void checkTelling(std::string_view input) {
    const int code = input.empty() ? LDAP_OTHER : static_cast<signed char>(input.front());
    if (code == LDAP_SUCCESS) {
        return;
    }
    const DirectoryError told = ldapError(code, "The server does not accept it", input);
    const auto heard = verdictIn(refusal(code, told.message), "accepted\n", Backend::ldap);
    require(heard && heard->code == code && heard->message == told.message);
    // A text that is too long for the protocol is cut, and still an error.
    require(verdictIn(refusal(code, input), "accepted\n", Backend::ldap).has_value());
}

}  // namespace

void fuzz(std::string_view input) {
    checkReading(input);
    checkTelling(input);
}

}  // namespace velunor
