// Files of the administrator that are not what they should be: the prompt shows its own texts.

#include <ostream>

#include "tests/support/prompt/prompt_test.h"

namespace velunor::testing {
namespace {

struct Hostile {
    const char* name;
    std::string content;
    /// What the system log says of it as message file.
    const char* messageLine;
    /// What it says of it as rebrand file.
    const char* rebrandLine;
};

std::string nested(const std::string& open, int depth) {
    std::string content;
    for (int level = 0; level < depth; ++level) {
        content += open;
    }
    return content;
}

std::string xml(const std::string& body) {
    return R"(<?xml version="1.0" encoding="UTF-8"?><plist version="1.0">)" + body + "</plist>";
}

std::vector<Hostile> hostileFiles() {
    constexpr const char* notReadable = "/AutoRebootMessages.plist ";
    constexpr const char* notADictionary = "AutoRebootMessages Not able to get data";
    constexpr const char* rebrandError = "rebrandData error ";
    return {
        {"Empty", "", notReadable, rebrandError},
        {"Truncated", R"(<?xml version="1.0"?><plist><dict><key>title</key><str)", notReadable,
         rebrandError},
        {"Binary", std::string("bplist00\xff\xff\xff\xff\xff\xff\xff\xff\xff", 17), notReadable,
         rebrandError},
        {"Nested", xml(nested("<array>", 100'000)), notReadable, rebrandError},
        {"EntityBomb",
         R"(<?xml version="1.0"?><!DOCTYPE plist [<!ENTITY a "aaaaaaaaaa">)"
         R"(<!ENTITY b "&a;&a;&a;&a;&a;&a;&a;&a;"><!ENTITY c "&b;&b;&b;&b;&b;&b;&b;&b;">]>)"
         R"(<plist><dict><key>title</key><string>&c;&c;&c;&c;</string></dict></plist>)",
         notReadable, rebrandError},
        {"Huge", std::string(std::size_t{17} * 1024 * 1024, 'x'), notReadable, rebrandError},
        {"Array", xml("<array><string>title</string></array>"), notADictionary, rebrandError},
    };
}

void PrintTo(const Hostile& file, std::ostream* out) {
    *out << file.name;
}

class HostileFile : public PromptTest, public ::testing::WithParamInterface<Hostile> {
  protected:
    void expectOwnTexts() {
        EXPECT_TRUE(waitForControl("label", "An update is ready")) << systemLog();
        EXPECT_TRUE(waitForControl("label", "Test Agent"));
        EXPECT_TRUE(findControl(controls(), "push button", "Go ahead"));
    }
};

TEST_P(HostileFile, AsMessagesLeavesTheLocalisedTexts) {
    writeFile(dataPath() / "AutoRebootMessages.plist", GetParam().content);
    start(patientPrompt());
    ASSERT_TRUE(waitForWindow()) << systemLog();
    expectOwnTexts();
    EXPECT_TRUE(waitForLog(GetParam().messageLine)) << systemLog();
}

TEST_P(HostileFile, AsRebrandLeavesTheProductName) {
    writeFile(dataPath() / "rebrand.plist", GetParam().content);
    start(patientPrompt());
    ASSERT_TRUE(waitForWindow()) << systemLog();
    expectOwnTexts();
    EXPECT_TRUE(waitForLog(GetParam().rebrandLine)) << systemLog();
    EXPECT_TRUE(waitForLog("No rebrand file found"));
}

INSTANTIATE_TEST_SUITE_P(Files, HostileFile, ::testing::ValuesIn(hostileFiles()),
                         [](const auto& one) { return std::string(one.param.name); });

class HostilePlace : public PromptTest {};

TEST_F(HostilePlace, DirectoryInPlaceOfTheMessagesIsAnError) {
    std::filesystem::create_directories(dataPath() / "AutoRebootMessages.plist");
    start(patientPrompt());
    ASSERT_TRUE(waitForWindow()) << systemLog();
    EXPECT_TRUE(waitForLog("Error " + (dataPath() / "AutoRebootMessages.plist").string() + " "))
        << systemLog();
}

TEST_F(HostilePlace, LogoThatIsNoImageLeavesTheLogo) {
    writeFile(dataPath() / "rebrand.plist",
              xml("<dict><key>IS_REBRANDED</key><string>TRUE</string></dict>"));
    writeFile(directory() / "base/images/rebranded-agent-logo.png", "not an image");
    start(patientPrompt());
    ASSERT_TRUE(waitForWindow()) << systemLog();
    EXPECT_TRUE(waitForLog("App icon set to rebranded")) << systemLog();
    EXPECT_TRUE(waitForControl("label", "Test Agent"));
}

}  // namespace
}  // namespace velunor::testing
