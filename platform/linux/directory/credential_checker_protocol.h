#pragma once

#include <chrono>
#include <cstddef>
#include <string_view>

namespace velunor::credential_checker_protocol {

// What the credential checker and the one that asks it say to each other. A request is the user
// name, NUL, the password, NUL and the end of the stream; the answer is one line and the end of the
// stream. Without arguments the checker asks PAM. With the argument `ldap` it asks a directory
// server, which four more describe (its URI, where the accounts are, the filter for one, the file
// with the authorities to trust) and a fifth, the seconds that each step may take. It connects
// first, and tells that it is ready before it takes the request.

inline constexpr std::string_view ldap = "ldap";

/// The longest user name, in bytes.
inline constexpr std::size_t longestUserName = 1024;
/// The longest password, in bytes: what PAM's own modules take.
inline constexpr std::size_t longestPassword = 512;
/// The longest password for a directory server, in bytes. A whole request is smaller than the
/// smallest pipe, one page.
inline constexpr std::size_t longestDirectoryPassword = 1024;

/// The line of a directory server that is connected and has proved its identity.
inline constexpr std::string_view ready = "ready\n";
/// The line of an accepted password.
inline constexpr std::string_view accepted = "accepted\n";
/// Beginning of the line for any other, or for a server that cannot be asked: the number of the
/// library's error, a blank and a text follow.
inline constexpr std::string_view refused = "refused ";
/// The longest line, its end included, in bytes.
inline constexpr std::size_t longestAnswer = 512;

/// How many steps there are at most before a directory server is ready (connecting, the request for
/// TLS, TLS), and then to the answer (looking the account up, asking about its password).
inline constexpr int stepsToReady = 3;
inline constexpr int stepsToAnswer = 2;

/// What the checker may take for everything else: more than enough, on a busy machine too.
inline constexpr std::chrono::seconds spareTime{2};

}  // namespace velunor::credential_checker_protocol
