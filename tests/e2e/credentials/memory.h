#pragma once

#include <sys/types.h>

#include <ostream>
#include <string>
#include <vector>

namespace velunor::testing {

/// A text found where it should not be.
struct Trace {
    /// Which process, and what kind of memory.
    std::string place;
    /// How it is coded there.
    std::string coding;
    /// The bytes in front of it, with a dot for each that is no plain character.
    std::string before;
};
std::ostream& operator<<(std::ostream& stream, const Trace& trace);

/// Looks for the text in the memory of a process, as bytes and as 16-bit and 32-bit characters.
/// Needs the right to read that memory; throws when it cannot.
[[nodiscard]] std::vector<Trace> tracesInMemory(pid_t process, const std::string& text);

/// Looks for the text in these bytes, which are called `place`, in the same ways.
[[nodiscard]] std::vector<Trace> tracesInBytes(const std::string& bytes, const std::string& place,
                                               const std::string& text);

/// The processes of this machine but for the test's own.
[[nodiscard]] std::vector<pid_t> otherProcesses();

}  // namespace velunor::testing
