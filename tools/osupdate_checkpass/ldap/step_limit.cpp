#include "tools/osupdate_checkpass/ldap/step_limit.h"

#include <unistd.h>

#include <array>
#include <csignal>
#include <cstdlib>
#include <string>

#include "platform/linux/directory/credential_checker_protocol.h"
#include "tools/osupdate_checkpass/protocol/answer.h"

namespace velunor {
namespace {

/// What the signal's handler needs; it is changed only while no alarm is set.
struct {
    int stream = -1;
    std::array<char, credential_checker_protocol::longestAnswer> line{};
    std::size_t size = 0;
} atTheLimit;

void tellAndEnd(int /*signal*/) {
    [[maybe_unused]] const ssize_t written =
        ::write(atTheLimit.stream, atTheLimit.line.data(), atTheLimit.size);
    _exit(EXIT_FAILURE);
}

}  // namespace

StepLimit::StepLimit(int answerStream, std::chrono::seconds limit) : limit_(limit) {
    atTheLimit.stream = answerStream;
    static_cast<void>(std::signal(SIGALRM, tellAndEnd));
}

void StepLimit::begin(const DirectoryError& errorAtTheLimit) {
    end();
    const std::string line =
        refusal(static_cast<int>(errorAtTheLimit.code), errorAtTheLimit.message);
    atTheLimit.size = line.copy(atTheLimit.line.data(), atTheLimit.line.size());
    alarm(static_cast<unsigned>(limit_.count()));
}

void StepLimit::end() {
    alarm(0);
}

}  // namespace velunor
