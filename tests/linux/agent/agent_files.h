#pragma once

#include <gtest/gtest.h>

#include <filesystem>
#include <memory>
#include <string>
#include <vector>

#include "tests/support/child_process.h"
#include "tests/support/files.h"
#include "tests/support/private_bus.h"
#include "tests/support/temporary_directory.h"
#include "tests/support/wait.h"

namespace velunor::testing {

using testing::ChildProcess;
using testing::Command;
using testing::Ending;
using testing::eventually;
using testing::readFile;
using testing::TemporaryDirectory;
using testing::writeFile;

/// The installed files of an agent in a directory of their own, and an environment in which the
/// library finds them and nothing of the machine.
class AgentFiles : public ::testing::Test {
  protected:
    AgentFiles();

    [[nodiscard]] const std::filesystem::path& directory() const { return directory_.path(); }
    [[nodiscard]] std::filesystem::path settingsFile() const { return directory() / "agent.toml"; }
    [[nodiscard]] std::filesystem::path userLog() const {
        return directory() / "log/UserLogs/OSUpdateNotification_jdoe.log";
    }
    [[nodiscard]] std::string libraryLog() const { return readFile(userLog()); }

    /// Writes complete settings for the bus "system" or "session".
    void writeSettings(const std::string& bus) const;

    /// Initialises the library and sends its output to the log of the user jdoe.
    static void initialiseLibrary();

    /// What the settings, the buses and the language of a child process follow.
    [[nodiscard]] testing::Environment environment() const;

  private:
    TemporaryDirectory directory_;
};

/// The agent service of a test, in a process of its own.
class FakeService {
  public:
    /// Owns the service's name when the constructor returns. `mode` and `user` as
    /// agent_fake_service takes them. Throws on failure.
    FakeService(const std::filesystem::path& directory, const std::string& address,
                const std::string& mode, const std::string& user = "own");

    /// The requests so far: key, blank, message in hexadecimal digits.
    [[nodiscard]] std::vector<std::string> requests() const;

  private:
    std::filesystem::path output_;
    ChildProcess process_;
};

[[nodiscard]] std::string hexadecimal(const std::string& bytes);

}  // namespace velunor::testing
