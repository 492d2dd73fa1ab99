#include "platform/linux/directory/ldap_error.h"

#include <ldap.h>

#include <string>

#include "platform/text.h"

namespace velunor {

namespace {

/// More of a server's text does not help anybody.
constexpr std::size_t longestDetail = 300;

/// `text` without line breaks and other control characters, cut where it is long.
std::string oneLine(std::string_view text) {
    constexpr std::string_view hexadecimal = "0123456789ABCDEF";
    const bool readable = isValidUtf8(text);
    std::string line;
    for (const char character : text) {
        const auto byte = static_cast<unsigned char>(character);
        const bool continues = readable && (byte & 0xC0U) == 0x80U;
        if (line.size() >= longestDetail && !continues) {
            return line + " ...";
        }
        if (byte < 0x20U || byte == 0x7FU || (!readable && byte >= 0x80U)) {
            line += {'\\', 'x', hexadecimal[byte / 16U], hexadecimal[byte % 16U]};
        } else {
            line += character;
        }
    }
    return line;
}

}  // namespace

DirectoryError ldapError(int code, std::string_view what, std::string_view detail) {
    std::string message(what);
    if (code != LDAP_SUCCESS) {
        message += ": ";
        message += ldap_err2string(code);
    }
    if (!detail.empty()) {
        message += " (" + oneLine(detail) + ")";
    }
    return {"LDAP", code, message};
}

}  // namespace velunor
