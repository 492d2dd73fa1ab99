#include "tools/osupdate_checkpass/protocol/answer.h"

#include <unistd.h>

#include <algorithm>

#include "platform/linux/directory/credential_checker_protocol.h"

namespace velunor {

std::string refusal(int code, std::string_view text) {
    std::string line(credential_checker_protocol::refused);
    line += std::to_string(code) + " ";
    line += text;
    line.resize(std::min(line.size(), credential_checker_protocol::longestAnswer - 1));
    return line + "\n";
}

bool answer(int stream, std::string_view line) {
    return ::write(stream, line.data(), line.size()) == static_cast<ssize_t>(line.size());
}

}  // namespace velunor
