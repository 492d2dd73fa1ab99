#include "tests/unit/window/prompt_fixture.h"

namespace velunor::testing {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

class RebrandingTest : public PromptFixture {
  protected:
    RebrandingTest() { controls.productNameLabel.setStringValue("Ostrel Agent"); }

    void rebrand(Expected<PropertyListValue> result) {
        directory.write("rebrand.plist", "content");
        propertyLists.result = std::move(result);
        run();
    }
    void rebrand(PropertyListDictionary members) {
        rebrand(Expected<PropertyListValue>(PropertyListValue{std::move(members)}));
    }
    void run() {
        makeController({});
        controller->processRebranding();
    }
    void putLogo() {
        directory.write("images/rebranded-agent-logo.png", "logo");
        logo = std::make_shared<FakeImage>(Size{64, 64});
        images.byPath[globals.basePath + "/images/rebranded-agent-logo.png"] = logo;
    }

    ImagePointer logo;
};
using RebrandingDeathTest = RebrandingTest;

TEST_F(RebrandingTest, MissingFileChangesNothing) {
    run();
    EXPECT_THAT(log.lines(), ElementsAre("No rebrand file found"));
    EXPECT_EQ(controls.productNameLabel.stringValue(), "Ostrel Agent");
}

TEST_F(RebrandingTest, NameAndLogoAreReplaced) {
    putLogo();
    rebrand({{"IS_REBRANDED", {"TRUE"}}, {"PRODUCT_NAME", {"Acme"}}});
    EXPECT_THAT(log.lines(), ElementsAre("Product Rebranded", "Setting Rebranded Name: Acme",
                                         "App icon set to rebranded"));
    EXPECT_EQ(controls.productNameLabel.stringValue(), "Acme");
    EXPECT_EQ(controls.appIcon.image, logo);
    EXPECT_EQ(application.icon, logo);
}

TEST_F(RebrandingTest, WithoutANameTheLogoIsStillApplied) {
    putLogo();
    rebrand({{"IS_REBRANDED", {"TRUE"}}});
    EXPECT_THAT(log.lines(), ElementsAre("Product Rebranded", "No Rebrand product name found",
                                         "App icon set to rebranded"));
    EXPECT_EQ(controls.productNameLabel.stringValue(), "Ostrel Agent");
    EXPECT_EQ(controls.appIcon.image, logo);
}

TEST_F(RebrandingTest, EmptyNameCountsAsPresent) {
    rebrand({{"IS_REBRANDED", {"TRUE"}}, {"PRODUCT_NAME", {""}}});
    EXPECT_THAT(log.lines(), ElementsAre("Product Rebranded",
                                         "Setting Rebranded Name: ", "App icon not rebranded"));
    EXPECT_EQ(controls.productNameLabel.stringValue(), "");
}

TEST_F(RebrandingTest, MissingLogoKeepsTheNameChange) {
    rebrand({{"IS_REBRANDED", {"TRUE"}}, {"PRODUCT_NAME", {"Acme"}}});
    EXPECT_EQ(log.lines().back(), "App icon not rebranded");
    EXPECT_EQ(controls.productNameLabel.stringValue(), "Acme");
    EXPECT_EQ(application.icon, nullptr);
}

TEST_F(RebrandingTest, LogoThatIsNoImageChangesNothingFurther) {
    directory.write("images/rebranded-agent-logo.png", "no image");
    rebrand({{"IS_REBRANDED", {"TRUE"}}, {"PRODUCT_NAME", {"Acme"}}});
    EXPECT_EQ(log.lines().back(), "App icon set to rebranded");
    EXPECT_EQ(controls.appIcon.image, nullptr);
    EXPECT_EQ(application.icon, nullptr);
}

TEST_F(RebrandingTest, BooleanFlagFailsTheWholeRecord) {
    rebrand({{"IS_REBRANDED", {true}}, {"PRODUCT_NAME", {"Acme"}}});
    EXPECT_THAT(log.lines(),
                ElementsAre("rebrandData error The value of \"IS_REBRANDED\" is not a text",
                            "No rebrand file found"));
    EXPECT_EQ(controls.productNameLabel.stringValue(), "Ostrel Agent");
}

TEST_F(RebrandingTest, NumericNameFailsTheWholeRecord) {
    rebrand({{"IS_REBRANDED", {"TRUE"}}, {"PRODUCT_NAME", {std::int64_t{1}}}});
    EXPECT_THAT(log.lines(),
                ElementsAre("rebrandData error The value of \"PRODUCT_NAME\" is not a text",
                            "No rebrand file found"));
}

TEST_F(RebrandingTest, MalformedFileIsAnError) {
    rebrand(Expected<PropertyListValue>(Error{"no plist"}));
    EXPECT_THAT(log.lines(), ElementsAre("rebrandData error no plist", "No rebrand file found"));
}

TEST_F(RebrandingTest, UnreadableFileIsAnError) {
    std::filesystem::create_directory(directory.file("rebrand.plist"));
    run();
    EXPECT_THAT(log.lines(),
                ElementsAre("rebrandData error Not a regular file", "No rebrand file found"));
}

TEST_F(RebrandingTest, TopLevelArrayIsAnError) {
    rebrand(Expected<PropertyListValue>(PropertyListValue{PropertyListArray{}}));
    EXPECT_THAT(log.lines(),
                ElementsAre("rebrandData error The top level is not a dictionary with text keys",
                            "No rebrand file found"));
}

TEST_F(RebrandingTest, NameWithoutAFlagIsIgnored) {
    rebrand({{"PRODUCT_NAME", {"Acme"}}});
    EXPECT_THAT(log.lines(), ElementsAre("Not Rebranded"));
    EXPECT_EQ(controls.productNameLabel.stringValue(), "Ostrel Agent");
}

class OtherFlagTest : public RebrandingTest, public ::testing::WithParamInterface<const char*> {};

TEST_P(OtherFlagTest, IsNotRebranded) {
    putLogo();
    rebrand({{"IS_REBRANDED", {GetParam()}}, {"PRODUCT_NAME", {"Acme"}}});
    EXPECT_THAT(log.lines(), ElementsAre("Not Rebranded"));
    EXPECT_EQ(controls.productNameLabel.stringValue(), "Ostrel Agent");
    EXPECT_THAT(images.askedPaths, IsEmpty());
}

INSTANTIATE_TEST_SUITE_P(Rebranding, OtherFlagTest,
                         ::testing::Values("true", "True", "YES", "TRUE ", " TRUE", "TRUEx", "TRU",
                                           ""));

TEST_F(RebrandingTest, RecordKeepsBothTexts) {
    directory.write("rebrand.plist", "content");
    propertyLists.result =
        PropertyListValue{PropertyListDictionary{{"IS_REBRANDED", {"x"}}, {"Other", {true}}}};
    makeController({});
    const auto record = controller->getRebrandDetails();
    ASSERT_TRUE(record.has_value());
    EXPECT_EQ(record->isRebranded, "x");
    EXPECT_FALSE(record->productName.has_value());
    EXPECT_THAT(log.lines(), IsEmpty());
}

TEST_F(RebrandingTest, FilesAreNotReadAgainWhileThePromptIsShown) {
    putLogo();
    directory.write("rebrand.plist", "content");
    propertyLists.result = PropertyListValue{
        PropertyListDictionary{{"IS_REBRANDED", {"TRUE"}}, {"PRODUCT_NAME", {"Acme"}}}};
    open();
    const int parsesAtTheStart = propertyLists.parses;
    const auto askedAtTheStart = images.askedPaths;
    propertyLists.result = PropertyListValue{
        PropertyListDictionary{{"IS_REBRANDED", {"TRUE"}}, {"PRODUCT_NAME", {"Later"}}}};
    controller->viewDidAppear();
    runLoop.advance(std::chrono::minutes(2));
    EXPECT_EQ(propertyLists.parses, parsesAtTheStart);
    EXPECT_EQ(images.askedPaths, askedAtTheStart);
    EXPECT_EQ(controls.productNameLabel.stringValue(), "Acme");
}

TEST_F(RebrandingDeathTest, NameWithoutALabelIsAFatalStop) {
    view.outlets.productNameLabel.connect(nullptr);
    EXPECT_EXIT(rebrand({{"IS_REBRANDED", {"TRUE"}}, {"PRODUCT_NAME", {"A"}}}),
                ::testing::KilledBySignal(SIGABRT), "");
}

TEST_F(RebrandingDeathTest, LogoWithoutAnImageViewIsAFatalStop) {
    putLogo();
    view.outlets.appIcon.connect(nullptr);
    EXPECT_EXIT(rebrand({{"IS_REBRANDED", {"TRUE"}}}), ::testing::KilledBySignal(SIGABRT), "");
}

}  // namespace
}  // namespace velunor::testing
