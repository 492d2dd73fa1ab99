#pragma once

#include <sys/types.h>

#include <chrono>
#include <functional>
#include <string>

#include "platform/linux/directory/directory_settings.h"

namespace velunor::testing {

/// A well-formed request.
std::string requestFor(const std::string& userName, const std::string& password);

/// What the checker answers to these bytes, with its exit status behind it, as "accepted\n0".
std::string checkerAnswer(const std::string& input);

/// The same from a checker with a short limit.
std::string impatientAnswer(const std::string& input);

/// The same while the request's stream is held open after the bytes.
std::string impatientAnswerWithoutEnd(const std::string& input);

/// A PAM stack of the test module with these behaviours.
std::string stackOf(const std::string& authentication, const std::string& account = "succeed");

/// Runs `body` in a forked copy of the test program that is `user` on a machine whose PAM knows
/// the checker's service alone, with this stack, and gives what it answers.
std::string withPam(const std::string& stack, const std::function<std::string()>& body,
                    unsigned user = 0);

/// Writes an executable script of the shell and gives its path.
std::string script(const std::string& path, const std::string& commands);

/// What a check by the client tells: "accepted", or the error's domain, code and text.
std::string checked(const CredentialCheckerSettings& settings,
                    const std::string& userName = "alice", const std::string& password = "right");

/// Whether no process of this group is at work any more, shortly.
bool endsSoon(pid_t group);

/// Milliseconds that `action` takes.
std::chrono::milliseconds durationOf(const std::function<void()>& action);

}  // namespace velunor::testing
