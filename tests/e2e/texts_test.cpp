// Texts as they come out on the window: literally, whatever they hold.

#include <algorithm>
#include <ostream>

#include "tests/support/prompt/prompt_test.h"

namespace velunor::testing {
namespace {

constexpr const char* bullet = "\u2022  ";

std::string messagePlist(const std::string& entries) {
    return R"(<?xml version="1.0" encoding="UTF-8"?><plist version="1.0"><dict>)" + entries +
           "</dict></plist>";
}

// The text as it stands inside an XML element.
std::string escaped(const std::string& text) {
    std::string result;
    for (const char character : text) {
        if (character == '<') {
            result += "&lt;";
        } else if (character == '&') {
            result += "&amp;";
        } else {
            result += character;
        }
    }
    return result;
}

class TextsOnWindow : public PromptTest {};

TEST_F(TextsOnWindow, EveryLabelAndButtonShowsItsText) {
    start(patientPrompt());
    ASSERT_TRUE(waitForWindow()) << systemLog();
    for (const char* label :
         {"Test Agent", "An update is ready", "The computer restarts afterwards.",
          "\u2022  Debian 12.9", "2 tries left"}) {
        EXPECT_TRUE(waitForControl("label", label)) << label << '\n' << systemLog();
    }
    EXPECT_TRUE(waitForControl("push button", "Go ahead"));
    EXPECT_TRUE(waitForControl("push button", "Later"));
    EXPECT_FALSE(findControl(controls(), "label", "Who authorises this?"));
}

TEST_F(TextsOnWindow, CredentialsPromptShowsItsPanel) {
    start({"OSUpdateWithCred", "Debian 12.9", "false", "15", "false", "2"});
    ASSERT_TRUE(waitForControl("label", "Who authorises this?")) << systemLog();
    const std::vector<Accessible> all = controls();
    EXPECT_TRUE(std::any_of(all.begin(), all.end(), [](const Accessible& control) {
        return control.showing && (control.role == "text" || control.role == "password text");
    }));
}

TEST_F(TextsOnWindow, ZeroAttemptsHideTheAttemptsLabelAlone) {
    start({"OSUpdate", "Debian 12.9", "false", "15", "false", "0"});
    ASSERT_TRUE(waitForControl("push button", "Later")) << systemLog();
    for (const Accessible& control : controls()) {
        EXPECT_FALSE(control.showing && control.name.find("tries left") != std::string::npos);
    }
    EXPECT_EQ(systemLog().find("Remaining Postpone Count: "), std::string::npos);
}

TEST_F(TextsOnWindow, ShippedTextsAreComplete) {
    std::filesystem::remove_all(directory() / "base/i18n");
    std::filesystem::copy(SHIPPED_TEXTS, directory() / "base/i18n");
    start(patientPrompt());
    EXPECT_TRUE(waitForWindow()) << systemLog();
}

TEST_F(TextsOnWindow, LanguageOfTheSessionChoosesTheTexts) {
    writeFile(directory() / "base/i18n/application_de.properties",
              "tarn.agent.msghand.postpone = Sp\u00e4ter\n");
    environment()["LANGUAGE"] = "de";
    environment()["LC_ALL"] = "de_DE.UTF-8";
    start(patientPrompt());
    EXPECT_TRUE(waitForControl("push button", "Sp\u00e4ter")) << systemLog();
    EXPECT_TRUE(findControl(controls(), "push button", "Go ahead"));
}

TEST_F(TextsOnWindow, EmptyUpdateNameLeavesTheBulletAndTwoSpaces) {
    start({"OSUpdate", "", "false", "15", "false", "2"});
    EXPECT_TRUE(waitForControl("label", bullet)) << systemLog();
}

struct NamedText {
    const char* name;
    const char* text;
};

std::string nameOf(const ::testing::TestParamInfo<NamedText>& one) {
    return one.param.name;
}

void PrintTo(const NamedText& text, std::ostream* out) {
    *out << text.name;
}

class LiteralName : public PromptTest, public ::testing::WithParamInterface<NamedText> {};

TEST_P(LiteralName, IsShownAsGiven) {
    const std::string name = GetParam().text;
    start({"OSUpdate", name, "false", "15", "false", "2"});
    ASSERT_TRUE(waitForWindow()) << systemLog();
    EXPECT_TRUE(waitForControl("label", bullet + name)) << systemLog();
}

INSTANTIATE_TEST_SUITE_P(
    Texts, LiteralName,
    ::testing::Values(NamedText{"Markup", "<b>bold</b> & <img src=x>"},
                      NamedText{"Ampersands", "&Save && go"},
                      NamedText{"FormatSigns", "%s %d %n 100%"},
                      NamedText{"LineBreaks", "first\nsecond\n\nfourth"},
                      NamedText{"Emoji", "\U0001F680\U0001F468\u200D\U0001F469\u200D\U0001F467"},
                      NamedText{
                          "RightToLeft",
                          "\u05E2\u05D3\u05DB\u05D5\u05DF 12.9 \u0645\u0631\u062D\u0628\u0627"},
                      NamedText{"LikeAnOptionOfTheToolkit", "-platform"},
                      NamedText{"Blanks", "  blanks \t kept  "}),
    nameOf);

TEST_F(TextsOnWindow, TenThousandCharactersAreReadBackWhole) {
    std::string name;
    while (name.size() < 10'000) {
        name += "update of everything ";
    }
    start({"OSUpdate", name, "false", "15", "false", "2"});
    ASSERT_TRUE(waitForWindow()) << systemLog();
    EXPECT_TRUE(waitForControl("label", bullet + name));
    const std::optional<Accessible> button = waitForControl("push button", "Later");
    const std::optional<WindowId> window = waitForWindow();
    ASSERT_TRUE(button && window);
    const PixelRect content = display().screen().contentOf(*window);
    EXPECT_GE(content.y, 0);
    EXPECT_LE(content.y + content.height, Display::height);
    EXPECT_LE(button->extents.y + button->extents.height, content.height);
}

TEST_F(TextsOnWindow, ButtonTitlesKeepAmpersandsAndMarkup) {
    Texts texts = testTexts();
    texts["tarn.agent.msghand.update_now"] = "Save & <i>update</i> && go";
    writeTexts(texts);
    start(patientPrompt());
    ASSERT_TRUE(waitForWindow()) << systemLog();
    EXPECT_TRUE(waitForLog("Update Now Button : Save & <i>update</i> && go")) << systemLog();
    EXPECT_TRUE(waitForControl("push button", "Save & <i>update</i> && go"));
}

TEST_F(TextsOnWindow, AdministratorsTextsReplaceTitleAndMessage) {
    const std::string title = "<h1>Now</h1> & then";
    const std::string info = "100% %s sure";
    writeFile(dataPath() / "AutoRebootMessages.plist",
              messagePlist("<key>title</key><string>" + escaped(title) +
                           "</string><key>info</key><string>" + info + "</string>"));
    start(patientPrompt());
    ASSERT_TRUE(waitForWindow()) << systemLog();
    EXPECT_TRUE(waitForControl("label", title)) << systemLog();
    EXPECT_TRUE(waitForControl("label", info));
    EXPECT_NE(systemLog().find("Title : An update is ready"), std::string::npos);
}

TEST_F(TextsOnWindow, RebrandedNameReplacesTheProductName) {
    writeFile(dataPath() / "rebrand.plist",
              messagePlist("<key>IS_REBRANDED</key><string>TRUE</string>"
                           "<key>PRODUCT_NAME</key><string>Harbour Desk</string>"));
    start(patientPrompt());
    ASSERT_TRUE(waitForWindow()) << systemLog();
    EXPECT_TRUE(waitForControl("label", "Harbour Desk")) << systemLog();
    EXPECT_NE(systemLog().find("App icon not rebranded"), std::string::npos);
}

}  // namespace
}  // namespace velunor::testing
