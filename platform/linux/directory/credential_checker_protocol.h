#pragma once

#include <cstddef>
#include <string_view>

namespace velunor::password_helper_protocol {

// What the program that asks PAM and the one that starts it say to each other: the user name, NUL,
// the password, NUL and the end of the stream one way; one line and the end of the stream the
// other way.

/// The longest user name, in bytes.
inline constexpr std::size_t longestUserName = 1024;
/// The longest password, in bytes: what PAM's own modules take. A whole request is smaller than
/// the smallest pipe, one page.
inline constexpr std::size_t longestPassword = 512;

/// The line of an accepted password.
inline constexpr std::string_view accepted = "accepted\n";
/// Beginning of the line for any other: PAM's number, a blank and PAM's text follow.
inline constexpr std::string_view refused = "refused ";
/// The longest line, its end included, in bytes.
inline constexpr std::size_t longestAnswer = 512;

}  // namespace velunor::password_helper_protocol
