// Starts that cannot lead to a prompt.

#include <arpa/inet.h>
#include <netinet/in.h>
#include <sys/socket.h>

#include <csignal>
#include <sstream>

#include "platform/posix/file_descriptor.h"
#include "tests/support/prompt/prompt_test.h"

namespace velunor::testing {
namespace {

class StartFailures : public PromptTest {
  protected:
    // Number of lines that hold the text, in the system log and the agent library's own one.
    [[nodiscard]] int linesWith(const std::string& text) const {
        std::string log = systemLog();
        for (const auto& file :
             std::filesystem::directory_iterator(accessLogPath().parent_path())) {
            if (file.path() != accessLogPath()) {
                log += readFile(file.path());
            }
        }
        std::istringstream lines(log);
        int count = 0;
        for (std::string line; std::getline(lines, line);) {
            count += line.find(text) != std::string::npos ? 1 : 0;
        }
        return count;
    }

    void expectUnusableStart() {
        EXPECT_EQ(process().wait(), (Ending{1, 0})) << systemLog();
        EXPECT_EQ(linesWith("Loading Application Prop Failed"), 1) << systemLog();
        EXPECT_EQ(linesWith("Opened Application "), 0);
        EXPECT_FALSE(std::filesystem::exists(accessLogPath()));
    }
};

TEST_F(StartFailures, NoArgumentsEndWithStatusOne) {
    start({});
    EXPECT_EQ(process().wait(), (Ending{1, 0})) << systemLog();
    EXPECT_EQ(linesWith("Args are less"), 1) << systemLog();
}

TEST_F(StartFailures, ThreeArgumentsEndWithStatusOne) {
    start({"OSUpdate", "Debian 12.9", "false"});
    EXPECT_EQ(process().wait(), (Ending{1, 0})) << systemLog();
    EXPECT_EQ(linesWith("Args are less"), 1) << systemLog();
    EXPECT_FALSE(std::filesystem::exists(accessLogPath()));
}

TEST_F(StartFailures, FourArgumentsAreAFatalStop) {
    start({"OSUpdate", "Debian 12.9", "false", "15"});
    EXPECT_EQ(process().wait(), (Ending{-1, SIGABRT})) << systemLog();
    EXPECT_EQ(linesWith("Args are less"), 0);
    EXPECT_FALSE(std::filesystem::exists(accessLogPath()));
}

TEST_F(StartFailures, FiveArgumentsAreAFatalStop) {
    start({"OSUpdate", "Debian 12.9", "false", "15", "false"});
    EXPECT_EQ(process().wait(), (Ending{-1, SIGABRT})) << systemLog();
    EXPECT_EQ(linesWith("Args are less"), 0);
    EXPECT_FALSE(std::filesystem::exists(accessLogPath()));
}

TEST_F(StartFailures, CountdownThatOverflowsIsAFatalStop) {
    start({"OSUpdate", "Debian 12.9", "false", "9223372036854775807", "false", "2"});
    EXPECT_EQ(process().wait(), (Ending{-1, SIGABRT})) << systemLog();
}

TEST_F(StartFailures, MissingLocalisationEndsWithStatusOne) {
    std::filesystem::remove_all(directory() / "base/i18n");
    start(patientPrompt());
    expectUnusableStart();
}

TEST_F(StartFailures, MissingMandatoryTextIsAFatalStop) {
    Texts texts = testTexts();
    texts.erase("tarn.agent.msghand.update_now");
    writeTexts(texts);
    start(patientPrompt());
    EXPECT_EQ(process().wait(), (Ending{-1, SIGABRT})) << systemLog();
}

TEST_F(StartFailures, MissingAttemptsTextFallsBack) {
    Texts texts = testTexts();
    texts.erase("tarn.agent.msghand.remaining_attempts");
    writeTexts(texts);
    start(patientPrompt());
    EXPECT_TRUE(waitForControl("label", "2 attempt(s) remaining")) << systemLog();
}

TEST_F(StartFailures, MissingSettingsFileIsNamed) {
    std::filesystem::remove(settingsPath());
    start(patientPrompt());
    expectUnusableStart();
    EXPECT_GE(linesWith(settingsPath().string()), 1) << systemLog();
}

TEST_F(StartFailures, SettingsPathThatIsNotAbsoluteIsNamed) {
    environment()["VELUNOR_AGENT_SETTINGS"] = std::filesystem::relative(settingsPath()).string();
    start(patientPrompt());
    expectUnusableStart();
    EXPECT_EQ(linesWith("VELUNOR_AGENT_SETTINGS is not an absolute path"), 1) << systemLog();
}

TEST_F(StartFailures, MalformedSettingsNameFileAndLine) {
    writeFile(settingsPath(), "[agent]\nproduct_name = \"Test Agent\nbase_path = 3\n");
    start(patientPrompt());
    expectUnusableStart();
    EXPECT_GE(linesWith(settingsPath().string() + ":2"), 1) << systemLog();
}

TEST_F(StartFailures, WrongTypeInSettingsNamesFileLineAndKey) {
    writeFile(settingsPath(), "[agent]\nproduct_name = \"Test Agent\"\nbase_path = 3\n");
    start(patientPrompt());
    expectUnusableStart();
    EXPECT_GE(linesWith(settingsPath().string() + ":3"), 1) << systemLog();
    EXPECT_GE(linesWith("base_path"), 1) << systemLog();
}

TEST_F(StartFailures, UnknownSettingIsALogLineAndNoMore) {
    writeFile(settingsPath(), readFile(settingsPath()) + "\n[colours]\nsky = \"blue\"\n");
    start(patientPrompt());
    EXPECT_TRUE(waitForWindow()) << systemLog();
    EXPECT_GE(linesWith("colours"), 1) << systemLog();
}

TEST_F(StartFailures, MissingDisplayIsOneClearLineAndStatusOne) {
    display();
    bus();
    environment()["DISPLAY"] = ":59999";
    start(patientPrompt());
    EXPECT_EQ(process().wait(), (Ending{1, 0})) << systemLog();
    EXPECT_EQ(linesWith(""), 1) << systemLog();
    EXPECT_EQ(linesWith("display"), 1) << systemLog();
}

TEST_F(StartFailures, UnsetDisplayIsOneClearLineAndStatusOne) {
    display();
    bus();
    environment().erase("DISPLAY");
    start(patientPrompt());
    EXPECT_EQ(process().wait(), (Ending{1, 0})) << systemLog();
    EXPECT_EQ(linesWith(""), 1) << systemLog();
    EXPECT_EQ(linesWith("display"), 1) << systemLog();
}

TEST_F(StartFailures, XServerThatNeverAnswersIsOneClearLineAndStatusOne) {
    display();
    bus();
    // It accepts, and that is all. The number of a display is counted from this port on.
    constexpr int firstPort = 6000;
    const FileDescriptor listener(socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0));
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    socklen_t size = sizeof address;
    ASSERT_EQ(bind(listener.get(), reinterpret_cast<const sockaddr*>(&address), size), 0);
    ASSERT_EQ(listen(listener.get(), 4), 0);
    ASSERT_EQ(getsockname(listener.get(), reinterpret_cast<sockaddr*>(&address), &size), 0);
    const int port = ntohs(address.sin_port);
    ASSERT_GE(port, firstPort);
    environment()["DISPLAY"] = "127.0.0.1:" + std::to_string(port - firstPort);
    start(patientPrompt());
    EXPECT_EQ(process().wait(), (Ending{1, 0})) << systemLog();
    EXPECT_EQ(linesWith(""), 1) << systemLog();
    EXPECT_EQ(linesWith("No display can be reached"), 1) << systemLog();
}

}  // namespace
}  // namespace velunor::testing
