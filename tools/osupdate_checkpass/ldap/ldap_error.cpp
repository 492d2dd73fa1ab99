#include "tools/osupdate_checkpass/ldap/ldap_error.h"

#include <ldap.h>

#include <string>

#include "platform/text.h"

namespace velunor {
namespace {

/// More of a server's text does not help anybody.
constexpr std::size_t longestDetail = 300;

/// `text` in one line, cut between two characters where it is long.
std::string beginningOf(std::string_view text) {
    std::string line = inOneLine(text);
    std::size_t end = longestDetail;
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

DirectoryError serverUnreachable(std::string_view reason) {
    return ldapError(LDAP_SERVER_DOWN, "The server cannot be reached", reason);
}

}  // namespace velunor
