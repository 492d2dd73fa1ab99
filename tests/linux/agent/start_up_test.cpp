// What the agent library does as it is started, with sound settings and with others.

#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>

#include "agent/linux/library_log.h"
#include "agent/ltarnutils.h"
#include "tests/linux/agent/agent_files.h"

namespace velunor::testing {
namespace {

/// Start-up happens once in a process, so each of these has one of its own.
class AgentStartUp : public AgentFiles {
  protected:
    AgentStartUp() { GTEST_FLAG_SET(death_test_style, "threadsafe"); }
};

TEST_F(AgentStartUp, UnknownKeyIsALineOfTheLibraryLog) {
    EXPECT_EXIT(
        {
            writeFile(settingsFile(), readFile(settingsFile()) + "colour = 1\n");
            initialiseLibrary();
            const bool noted = libraryLog().ends_with(settingsFile().string() +
                                                      ":9: unknown key service.colour\n");
            std::_Exit(noted ? 0 : 1);
        },
        ::testing::ExitedWithCode(0), "^$");
}

TEST_F(AgentStartUp, WrongSettingsAreOneLineAndMakeTheLocalisationFail) {
    EXPECT_EXIT(
        {
            writeFile(directory() / "base/i18n/application_en.properties", "a = 1\n");
            writeFile(settingsFile(), "[agent]\nbase_path = 3\n");
            initialiseLibrary();
            I18NUtility texts;
            const bool failed = texts.loadI18NPropertyFile() != 0;
            std::_Exit(failed && !texts.getValueForKeyString("a") ? 0 : 1);
        },
        ::testing::ExitedWithCode(0), "^[^\n]*/agent.toml:2: agent.base_path is not a text\n$");
}

TEST_F(AgentStartUp, SettingsPathThatIsNotAbsoluteIsOneLineAndMakesTheLocalisationFail) {
    EXPECT_EXIT(
        {
            std::filesystem::current_path(directory());
            setenv("VELUNOR_AGENT_SETTINGS", "agent.toml", 1);
            writeFile(directory() / "base/i18n/application_en.properties", "a = 1\n");
            initialiseLibrary();
            std::_Exit(I18NUtility().loadI18NPropertyFile() != 0 ? 0 : 1);
        },
        ::testing::ExitedWithCode(0), "^[^\n]* VELUNOR_AGENT_SETTINGS is not an absolute path\n$");
}

TEST_F(AgentStartUp, GlobalsAreThereWithEmptyPathsWithoutSettings) {
    EXPECT_EXIT(
        {
            std::filesystem::remove(settingsFile());
            const bool early = gv_globvars == nullptr;
            initialiseLibrary();
            const bool empty = gv_globvars != nullptr && gv_globvars->tarnagentBasePath.empty() &&
                               gv_globvars->tarnagentDataDictPath.empty() &&
                               gv_globvars->tarnagentLogPath.empty();
            std::_Exit(early && empty ? 0 : 1);
        },
        ::testing::ExitedWithCode(0), "^[^\n]*/agent.toml: No such file or directory\n$");
}

TEST_F(AgentStartUp, LinesFromBeforeTheLogStreamAreKeptForIt) {
    EXPECT_EXIT(
        {
            library_log::write("an early line");
            initialiseLibrary();
            std::_Exit(libraryLog().ends_with(" an early line\n") ? 0 : 1);
        },
        ::testing::ExitedWithCode(0), "^$");
}

}  // namespace
}  // namespace velunor::testing
