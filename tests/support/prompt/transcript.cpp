#include "tests/support/prompt/transcript.h"

#include <regex>

#include "tests/support/files.h"

namespace velunor::testing {

std::string replaced(std::string text, const std::string& from, const std::string& to) {
    for (std::size_t at = text.find(from); at != std::string::npos;
         at = text.find(from, at + to.size())) {
        text.replace(at, from.size(), to);
    }
    return text;
}

std::string normalizedTranscript(const std::string& log, const std::filesystem::path& directory,
                                 pid_t process) {
    std::string text = replaced(log, directory.string(), "DIRECTORY");
    text =
        replaced(text, "VelunorOSUpdate[" + std::to_string(process) + "]", "VelunorOSUpdate[PID]");
    return std::regex_replace(
        text, std::regex(R"(\d{4}-\d{2}-\d{2} \d{2}:\d{2}:\d{2}(\.\d{3}| \+0000))"), "TIME");
}

std::string goldenTranscript(const std::string& name, const std::filesystem::path& directory) {
    return readFile(directory / (name + ".txt"));
}

}  // namespace velunor::testing
