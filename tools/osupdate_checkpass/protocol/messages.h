#pragma once

#include <array>
#include <chrono>
#include <cstddef>
#include <string>
#include <string_view>

#include "platform/linux/directory/credential_checker_protocol.h"

namespace velunor {

/// One question: whether this is the account's password. Its memory is kept out of swap as far as
/// the system allows it, and overwritten at the end of its life.
class CheckRequest {
  public:
    CheckRequest() { lock(); }
    CheckRequest(const CheckRequest&) = delete;
    CheckRequest& operator=(const CheckRequest&) = delete;
    ~CheckRequest();

    /// Reads a whole request, up to the end of the stream. False when it is malformed, too long or
    /// not complete at `deadline`. Neither text is empty or holds a NUL.
    [[nodiscard]] bool read(int input, std::chrono::steady_clock::time_point deadline,
                            std::size_t longestPassword);

    /// Keeps the memory out of swap; to be said again in a forked process.
    void lock() const;

    [[nodiscard]] std::string_view userName() const { return userName_; }
    [[nodiscard]] std::string_view password() const { return password_; }

  private:
    [[nodiscard]] std::size_t readToEnd(int input, std::chrono::steady_clock::time_point deadline);

    /// One byte more than the longest request, so that a longer one is seen.
    static constexpr std::size_t room = credential_checker_protocol::longestUserName +
                                        credential_checker_protocol::longestDirectoryPassword + 3;

    std::array<char, room> bytes_{};
    std::string_view userName_{};
    std::string_view password_{};
};

/// The line that tells a refusal: the library's number, never 0, and a text without line breaks.
/// Never longer than the protocol allows.
[[nodiscard]] std::string refusal(int code, std::string_view text);

/// Whether the whole line could be written.
[[nodiscard]] bool answer(int stream, std::string_view line);

}  // namespace velunor
