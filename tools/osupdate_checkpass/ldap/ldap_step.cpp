#include "tools/osupdate_checkpass/ldap/ldap_step.h"

#include <ldap.h>
#include <unistd.h>

#include <array>
#include <csignal>
#include <cstdlib>
#include <string>

#include "platform/text.h"
#include "tools/osupdate_checkpass/protocol/messages.h"

namespace velunor {
namespace {

/// What the signal's handler needs; it is changed only while no alarm is set.
struct {
    int stream;
    std::array<char, credential_checker_protocol::longestAnswer> line;
    std::size_t size;
} atTheLimit{};

void tellAndEnd(int /*signal*/) {
    [[maybe_unused]] const ssize_t written =
        ::write(atTheLimit.stream, atTheLimit.line.data(), atTheLimit.size);
    _exit(EXIT_FAILURE);
}

/// `text` in one line, cut between two characters where it is long: more of a server's text does
/// not help anybody.
std::string beginningOf(std::string_view text) {
    constexpr std::size_t longest = 300;
    std::string line = inOneLine(text);
    std::size_t end = longest;
    while (end < line.size() && (static_cast<unsigned char>(line[end]) & 0xC0U) == 0x80U) {
        ++end;
    }
    return end < line.size() ? line.substr(0, end) + " ..." : line;
}

}  // namespace

DirectoryError ldapError(int code, std::string_view what, std::string_view detail) {
    std::string message(what);
    if (code != LDAP_SUCCESS) {
        message += ": ";
        message += ldap_err2string(code);
    }
    if (!detail.empty()) {
        message += " (" + beginningOf(detail) + ")";
    }
    return {"LDAP", code, message};
}

Step::Step(const StepLimit& limit, const DirectoryError& errorAtTheLimit) {
    const std::string line =
        refusal(static_cast<int>(errorAtTheLimit.code), errorAtTheLimit.message);
    atTheLimit.stream = limit.answerStream;
    atTheLimit.size = line.copy(atTheLimit.line.data(), atTheLimit.line.size());
    static_cast<void>(std::signal(SIGALRM, tellAndEnd));
    alarm(static_cast<unsigned>(limit.limit.count()));
}

Step::~Step() {
    alarm(0);
}

}  // namespace velunor
