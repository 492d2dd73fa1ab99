// Why a prompt cannot start stands in the journal too, for the administrator who was not there.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <string>
#include <vector>

#include "platform/posix/process.h"
#include "tests/support/files.h"
#include "tests/support/forked_copy.h"
#include "tests/support/machine/journal.h"
#include "tests/support/temporary_directory.h"
#include "tests/support/wait.h"

namespace velunor::testing {
namespace {

using ::testing::HasSubstr;

class UnusableStart : public ::testing::Test {
  protected:
    UnusableStart() {
        std::filesystem::create_directories(root_ / "base/i18n");
        std::filesystem::create_directories(root_ / "log/UserLogs");
    }

    [[nodiscard]] std::string settings() const { return root_ / "agent.toml"; }
    [[nodiscard]] std::string texts() const {
        return root_ / "base/i18n/application_en.properties";
    }

    void writeSettings() const {
        const std::string root = root_.string();
        writeFile(settings(), "[agent]\nbase_path = \"" + root + "/base\"\ndata_path = \"" + root +
                                  "/data\"\nlog_path = \"" + root + "/log\"\n");
    }

    /// What the journal gets from a prompt without a display, once `expected` is in it or the time
    /// is up.
    [[nodiscard]] std::string journalOfAStart(const std::string& expected) const {
        const auto outcome = inChild([&] {
            enterPrivateNamespace();
            mountEmptyOver("/run");
            std::filesystem::create_directories("/run/systemd/journal");
            const Journal journal;
            for (const char* variable :
                 {"DISPLAY", "QT_QPA_PLATFORM", "WAYLAND_DISPLAY", "XDG_RUNTIME_DIR"}) {
                unsetenv(variable);
            }
            setenv("VELUNOR_AGENT_SETTINGS", settings().c_str(), 1);
            const std::vector<std::string> arguments{"OSUpdate", "1", "false", "15", "false", "2"};
            const auto result = LinuxChildProcess().run(PROMPT_PROGRAM, arguments);
            static_cast<void>(eventually(
                [&] { return journal.records().find(expected) != std::string::npos; }, brief));
            return journal.records() + "\nstatus " + std::to_string(result.terminationStatus);
        });
        return outcome.text;
    }

  private:
    /// The record is there when the program has ended; it has to be taken from the socket.
    static constexpr std::chrono::seconds brief{5};

    TemporaryDirectory directory_;
    std::filesystem::path root_ = directory_.path();
};

TEST_F(UnusableStart, MissingSettingsAreNamedInTheJournal) {
    const std::string reason = "MESSAGE=" + settings() + ": No such file or directory\n";
    const std::string journal = journalOfAStart(reason);
    EXPECT_THAT(journal, HasSubstr(reason));
    EXPECT_THAT(journal, HasSubstr("\nstatus 1"));
}

TEST_F(UnusableStart, MissingTextsAreNamedInTheJournal) {
    writeSettings();
    const std::string reason = "MESSAGE=" + texts() + ": No such file or directory\n";
    const std::string journal = journalOfAStart(reason);
    EXPECT_THAT(journal, HasSubstr(reason));
    EXPECT_THAT(journal, HasSubstr("\nstatus 1"));
}

TEST_F(UnusableStart, DisplayThatCannotBeReachedIsARecordOfTheJournal) {
    writeSettings();
    writeFile(texts(), "");
    const std::string reason = "MESSAGE=No display can be reached\n";
    const std::string journal = journalOfAStart(reason);
    EXPECT_THAT(journal, HasSubstr(reason));
    EXPECT_THAT(journal, HasSubstr("\nstatus 1"));
}

}  // namespace
}  // namespace velunor::testing
