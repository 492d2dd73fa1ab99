#pragma once

#include <functional>
#include <string>

namespace velunor::testing {

/// How a forked copy of the test program ended.
struct ChildOutcome {
    /// Exit status, or the negative number of the signal that ended it.
    int status = 0;
    /// What its body answered; empty when it did not get so far.
    std::string text;
};

/// Runs `body` in a forked copy of the test program, which may change everything that belongs to a
/// whole process. A copy that hangs is ended by an alarm after a minute.
ChildOutcome inChild(const std::function<std::string()>& body);

/// Gives the calling process, which must be a forked copy, namespaces of its own in which it may
/// mount. It sees itself as `user` there. The copy ends when that is not possible.
void enterPrivateNamespace(unsigned user = 0);

/// Covers the directory with an empty one. For private namespaces.
void mountEmptyOver(const std::string& directory);

/// Puts a file in the place of another. For private namespaces.
void mountFileOver(const std::string& file, const std::string& place);

/// A copy of a program in a directory that belongs to the one user whom the namespace knows; the
/// machine's directories may be nobody's there. Covers /mnt. For private namespaces, once.
std::string ownCopyOf(const std::string& program);

}  // namespace velunor::testing
