#include "tests/e2e/credentials/memory.h"

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <charconv>
#include <cstdint>
#include <filesystem>
#include <fstream>
#include <optional>
#include <sstream>
#include <stdexcept>

namespace velunor::testing {
namespace {

struct Needle {
    std::string coding;
    std::string bytes;
};

std::vector<Needle> needlesFor(const std::string& text) {
    std::vector<Needle> needles{{"bytes", text}, {"16-bit", ""}, {"32-bit", ""}};
    for (const char letter : text) {
        needles[1].bytes += {letter, '\0'};
        needles[2].bytes += {letter, '\0', '\0', '\0'};
    }
    return needles;
}

std::string printable(const std::string& bytes) {
    std::string text = bytes;
    std::replace_if(
        text.begin(), text.end(), [](char byte) { return byte < ' ' || byte > '~'; }, '.');
    return text;
}

/// One mapping of a process; `name` is empty for plain memory.
struct Mapping {
    std::uint64_t begin = 0;
    std::uint64_t end = 0;
    std::string access;
    std::string name;
};

std::optional<Mapping> mappingOf(const std::string& line) {
    Mapping mapping;
    char dash = 0;
    std::string offset;
    std::string device;
    std::string inode;
    std::istringstream fields(line);
    fields >> std::hex >> mapping.begin >> dash >> mapping.end >> mapping.access >> offset >>
        device >> inode >> mapping.name;
    const bool readable = mapping.access.starts_with('r') && !mapping.name.starts_with("[v");
    return readable ? std::optional(mapping) : std::nullopt;
}

/// Reads what is there; pages that are only reserved are left out.
std::string bytesOf(int memory, const Mapping& mapping) {
    std::string bytes(mapping.end - mapping.begin, '\0');
    std::size_t done = 0;
    while (done < bytes.size()) {
        const ssize_t count = ::pread(memory, bytes.data() + done, bytes.size() - done,
                                      static_cast<off_t>(mapping.begin + done));
        if (count <= 0) {
            break;
        }
        done += static_cast<std::size_t>(count);
    }
    bytes.resize(done);
    return bytes;
}

void collect(const std::string& bytes, const std::string& place, const std::vector<Needle>& needles,
             std::vector<Trace>& traces) {
    constexpr std::size_t shownBefore = 32;
    for (const Needle& needle : needles) {
        for (std::size_t at = bytes.find(needle.bytes); at != std::string::npos;
             at = bytes.find(needle.bytes, at + 1)) {
            const std::size_t from = at - std::min(at, shownBefore);
            traces.push_back({place, needle.coding, printable(bytes.substr(from, at - from))});
        }
    }
}

/// Whether the process has ended, and perhaps waits for its parent to notice: it has no memory.
bool hasEnded(const std::string& directory) {
    std::string line;
    std::getline(std::ifstream(directory + "/stat"), line);
    const std::size_t end = line.rfind(')');
    return end == std::string::npos || line.substr(end).starts_with(") Z") ||
           line.substr(end).starts_with(") X");
}

}  // namespace

std::ostream& operator<<(std::ostream& stream, const Trace& trace) {
    return stream << trace.place << ", " << trace.coding << ", after \"" << trace.before << '"';
}

std::vector<Trace> tracesInMemory(pid_t process, const std::string& text) {
    const std::string directory = "/proc/" + std::to_string(process);
    const std::vector<Needle> needles = needlesFor(text);
    std::string program;
    std::getline(std::ifstream(directory + "/comm"), program);
    std::ifstream maps(directory + "/maps");
    const int memory = ::open((directory + "/mem").c_str(), O_RDONLY | O_CLOEXEC);
    if (!maps || memory < 0) {
        if (hasEnded(directory)) {
            return {};
        }
        throw std::runtime_error("the memory of " + program + " cannot be read");
    }
    std::vector<Trace> traces;
    std::string line;
    while (std::getline(maps, line)) {
        if (const auto mapping = mappingOf(line)) {
            collect(bytesOf(memory, *mapping),
                    program + " " + (mapping->name.empty() ? "memory" : mapping->name), needles,
                    traces);
        }
    }
    ::close(memory);
    return traces;
}

std::vector<Trace> tracesInBytes(const std::string& bytes, const std::string& place,
                                 const std::string& text) {
    std::vector<Trace> traces;
    collect(bytes, place, needlesFor(text), traces);
    return traces;
}

std::vector<pid_t> otherProcesses() {
    std::vector<pid_t> processes;
    for (const auto& entry : std::filesystem::directory_iterator("/proc")) {
        const std::string name = entry.path().filename();
        pid_t process = 0;
        const auto [end, error] = std::from_chars(name.data(), name.data() + name.size(), process);
        if (error == std::errc() && end == name.data() + name.size() && process != ::getpid()) {
            processes.push_back(process);
        }
    }
    return processes;
}

}  // namespace velunor::testing
