#include "tests/unit/window/prompt_fixture.h"

namespace velunor::testing {
namespace {

using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

PropertyListValue dictionary(PropertyListDictionary members) {
    return {std::move(members)};
}

class TextsTest : public PromptFixture {
  protected:
    void localise(const std::string& key, const std::string& text) {
        agent().texts[key] = text;
        globals.i18nDefault.loadI18NPropertyFile();
    }
    /// Puts a file where the administrator's texts are looked for and reads it as `result`.
    void customise(Expected<PropertyListValue> result) {
        directory.write("AutoRebootMessages.plist", "content");
        propertyLists.result = std::move(result);
        makeController({});
        controller->setCustomizedText();
    }
};
using TextsDeathTest = TextsTest;

TEST_F(TextsTest, SevenCaptionsReachTheirControls) {
    makeController({});
    controller->setLocalizationText();
    EXPECT_EQ(controls.titleLabel.stringValue(), "Title text");
    EXPECT_EQ(controls.messageLabel.stringValue(), "Message text");
    EXPECT_EQ(controls.credentailsInfoTextLabel.stringValue(), "Credentials text");
    EXPECT_EQ(controls.usernameChangeButton.title(), "Change user");
    EXPECT_EQ(controls.unsupportedUserCredentailInfoTextLabel.stringValue(), "Not sufficient");
    EXPECT_EQ(controls.postponeButton.title(), "Postpone caption");
    EXPECT_EQ(controls.updateNowButton.title(), "Update caption");
}

TEST_F(TextsTest, EmptyCaptionIsSetAsItIs) {
    localise("tarn.agent.msghand.postpone", "");
    makeController({});
    controller->setLocalizationText();
    EXPECT_EQ(controls.postponeButton.title(), "");
    EXPECT_THAT(log.lines(), Contains("Postpone Button : "));
}

TEST_F(TextsTest, FormatSignsInACaptionAreLiteral) {
    localise("tarn.agent.msghand.update_now", "Do %s & %1$d 100%");
    makeController({});
    controller->setLocalizationText();
    EXPECT_EQ(controls.updateNowButton.title(), "Do %s & %1$d 100%");
    EXPECT_THAT(log.lines(), Contains("Update Now Button : Do %s & %1$d 100%"));
}

TEST_F(TextsTest, EachOfTheSevenLinesShowsWhatItsControlHolds) {
    controls.titleLabel.shownInstead = "shown title";
    controls.messageLabel.shownInstead = "shown message";
    controls.credentailsInfoTextLabel.shownInstead = "shown hint";
    controls.unsupportedUserCredentailInfoTextLabel.shownInstead = "shown notice";
    controls.postponeButton.shownInstead = "shown postpone";
    controls.updateNowButton.shownInstead = "shown update";
    controls.usernameChangeButton.shownInstead = "shown change";
    makeController({});
    controller->setLocalizationText();
    EXPECT_THAT(
        log.lines(),
        ElementsAre("Title : shown title", "Message : shown message",
                    "Credentails Info : shown hint", "Unspported Credentails Info : shown notice",
                    "Postpone Button : shown postpone", "Update Now Button : shown update",
                    "Username Change Button : shown change"));
}

class MissingCaptionDeathTest : public TextsTest,
                                public ::testing::WithParamInterface<const char*> {};

TEST_P(MissingCaptionDeathTest, IsAFatalStop) {
    agent().texts.erase(GetParam());
    globals.i18nDefault.loadI18NPropertyFile();
    makeController({});
    EXPECT_EXIT(controller->setLocalizationText(), ::testing::KilledBySignal(SIGABRT), "");
}

INSTANTIATE_TEST_SUITE_P(
    Localised, MissingCaptionDeathTest,
    ::testing::Values("tarn.agent.msghand.os_reboot.reboot_title",
                      "tarn.agent.msghand.os_reboot.reboot_text",
                      "tarn.agent.msghand.os_reboot.credentials_text",
                      "tarn.agent.msghand.os_reboot.change_username_text",
                      "tarn.agent.msghand.os_reboot.credentials_not_sufficient",
                      "tarn.agent.msghand.postpone", "tarn.agent.msghand.update_now"));

TEST_F(TextsTest, NoAdministratorsFileChangesNothing) {
    makeController({});
    controller->setCustomizedText();
    EXPECT_THAT(log.lines(), ElementsAre("AutoRebootMessages File not available"));
    EXPECT_THAT(controls.titleLabel.history, IsEmpty());
}

TEST_F(TextsTest, AdministratorsTextsWinOverLocalisedOnes) {
    directory.write("AutoRebootMessages.plist", "content");
    propertyLists.result = dictionary({{"title", {"T"}}, {"info", {"I"}}});
    open();
    EXPECT_EQ(controls.titleLabel.stringValue(), "T");
    EXPECT_EQ(controls.messageLabel.stringValue(), "I");
    EXPECT_THAT(log.lines(), Contains("Title : Title text"));
    EXPECT_THAT(log.lines(), Contains("Message : Message text"));
    const auto lines = log.lines();
    EXPECT_THAT((std::vector<std::string>{lines.end() - 2, lines.end()}),
                ElementsAre("Changed Title: T", "Changed Info: I"));
}

TEST_F(TextsTest, OnlyInfoChangesOnlyTheMessage) {
    customise(dictionary({{"info", {"I"}}}));
    EXPECT_THAT(log.lines(), ElementsAre("Changed Info: I"));
    EXPECT_THAT(controls.titleLabel.history, IsEmpty());
    EXPECT_EQ(controls.messageLabel.stringValue(), "I");
}

TEST_F(TextsTest, OnlyTitleChangesOnlyTheTitle) {
    customise(dictionary({{"title", {"T"}}}));
    EXPECT_THAT(log.lines(), ElementsAre("Changed Title: T"));
    EXPECT_THAT(controls.messageLabel.history, IsEmpty());
}

TEST_F(TextsTest, EmptyAdministratorsTextIsApplied) {
    customise(dictionary({{"title", {""}}, {"info", {""}}}));
    EXPECT_THAT(controls.titleLabel.history, ElementsAre(""));
    EXPECT_THAT(controls.messageLabel.history, ElementsAre(""));
}

TEST_F(TextsTest, ValuesOfAnotherTypeArePassedOverSilently) {
    customise(dictionary({{"title", {std::int64_t{5}}}, {"info", {PropertyListDictionary()}}}));
    EXPECT_THAT(log.lines(), IsEmpty());
    EXPECT_THAT(controls.titleLabel.history, IsEmpty());
}

TEST_F(TextsTest, OtherKeysAreIgnored) {
    customise(dictionary({{"Title", {"T"}}, {"x", {true}}}));
    EXPECT_THAT(log.lines(), IsEmpty());
}

TEST_F(TextsTest, UnreadableFileIsOneErrorLine) {
    std::filesystem::create_directory(directory.file("AutoRebootMessages.plist"));
    makeController({});
    controller->setCustomizedText();
    EXPECT_THAT(log.lines(), ElementsAre("Error " + directory.file("AutoRebootMessages.plist") +
                                         " Not a regular file"));
}

TEST_F(TextsTest, MalformedFileIsOneErrorLine) {
    customise(Error{"no plist"});
    EXPECT_THAT(log.lines(),
                ElementsAre("Error " + directory.file("AutoRebootMessages.plist") + " no plist"));
}

TEST_F(TextsTest, TopLevelArrayGivesNoData) {
    customise(PropertyListValue{PropertyListArray{}});
    EXPECT_THAT(log.lines(), ElementsAre("AutoRebootMessages Not able to get data"));
}

TEST_F(TextsTest, TopLevelTextGivesNoData) {
    customise(PropertyListValue{"text"});
    EXPECT_THAT(log.lines(), ElementsAre("AutoRebootMessages Not able to get data"));
}

TEST_F(TextsTest, DictionaryWithOtherKeyTypesGivesNoData) {
    customise(PropertyListValue{PropertyListForeignDictionary{}});
    EXPECT_THAT(log.lines(), ElementsAre("AutoRebootMessages Not able to get data"));
}

TEST_F(TextsTest, FileThatChangesWhileThePromptIsShownHasNoEffect) {
    directory.write("AutoRebootMessages.plist", "content");
    propertyLists.result = dictionary({{"title", {"T"}}, {"info", {"I"}}});
    open();
    const int parsesAtTheStart = propertyLists.parses;
    propertyLists.result = dictionary({{"title", {"later"}}, {"info", {"later"}}});
    controller->viewDidAppear();
    runLoop.advance(std::chrono::minutes(2));
    controls.userNameTextField.editingEnded();
    controller->changeUserName();
    EXPECT_EQ(propertyLists.parses, parsesAtTheStart);
    EXPECT_EQ(controls.titleLabel.stringValue(), "T");
    EXPECT_EQ(controls.messageLabel.stringValue(), "I");
}

TEST_F(TextsTest, FileThatComesWhileThePromptIsShownHasNoEffect) {
    open();
    directory.write("AutoRebootMessages.plist", "content");
    directory.write("rebrand.plist", "content");
    controller->viewDidAppear();
    runLoop.advance(std::chrono::minutes(2));
    EXPECT_EQ(propertyLists.parses, 0);
}

TEST_F(TextsDeathTest, AdministratorsTitleWithoutALabelIsAFatalStop) {
    view.outlets.titleLabel.connect(nullptr);
    EXPECT_EXIT(customise(dictionary({{"title", {"T"}}})), ::testing::KilledBySignal(SIGABRT), "");
}

TEST_F(TextsDeathTest, AdministratorsInfoWithoutALabelIsAFatalStop) {
    view.outlets.messageLabel.connect(nullptr);
    EXPECT_EXIT(customise(dictionary({{"info", {"I"}}})), ::testing::KilledBySignal(SIGABRT), "");
}

}  // namespace
}  // namespace velunor::testing
