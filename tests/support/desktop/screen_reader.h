#pragma once

#include <filesystem>
#include <fstream>
#include <memory>
#include <string>
#include <vector>

#include "tests/support/child_process.h"

namespace velunor::testing {

/// Orca, as a person has it who uses no screen: with its own settings and a speech service, of
/// which only the voice is missing.
class ScreenReader {
  public:
    /// Starts it in the session that has these variables, and waits until it speaks. `directory`
    /// holds its files. Throws on failure.
    ScreenReader(const Environment& session, const std::filesystem::path& directory);

    /// Everything that it has said so far, in its order, each text on one line. Its first words are
    /// left out.
    [[nodiscard]] const std::vector<std::string>& said();

    /// Number of its series, such as "43". Each words things in its own way.
    [[nodiscard]] const std::string& series() const { return series_; }

  private:
    void readSeries(const Environment& environment);

    std::filesystem::path directory_;
    std::string series_;
    std::ifstream log_;
    /// The part of the log in which what was said has not been looked for.
    std::string unread_;
    std::vector<std::string> said_;
    std::unique_ptr<ChildProcess> speech_;
    std::unique_ptr<ChildProcess> reader_;
};

}  // namespace velunor::testing
