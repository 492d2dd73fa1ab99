#include "tests/unit/window/prompt_fixture.h"

namespace velunor::testing {
namespace {

/// What stands in the window at the moment a line is written.
class OrderTest : public PromptFixture {
  protected:
    /// Has `look` called when a line that begins with `beginning` is written, and counts it.
    void at(const std::string& beginning, const std::function<void()>& look) {
        log.atLine = [this, beginning, look](std::string_view line) {
            if (line.starts_with(beginning)) {
                ++seen;
                look();
            }
        };
    }
    void TearDown() override {
        PromptFixture::TearDown();
        EXPECT_EQ(seen, 1);
    }
    void pressUpdateNow(const std::string& user) {
        open("OSUpdateWithCred");
        controls.userNameTextField.value = user;
        EXPECT_EQ(exitStatusOf([this] { controller->updateNow(); }), -1);
    }

    int seen = 0;
};

TEST_F(OrderTest, CountIsShownBeforeItIsLogged) {
    at("Remaining Postpone Count: ", [this] {
        EXPECT_EQ(controls.postponeAttemptsRemainingLabel.stringValue(), "2 tries left");
    });
    open();
}

TEST_F(OrderTest, CaptionsAreAllSetBeforeTheFirstIsLogged) {
    at("Title : ", [this] {
        EXPECT_EQ(controls.usernameChangeButton.title(), "Change user");
        EXPECT_EQ(controls.updateNowButton.title(), "Update caption");
    });
    open();
}

TEST_F(OrderTest, FirstTextIsShownBeforeTheStartIsLoggedAndTheTimerRuns) {
    at("Starting with ", [this] {
        EXPECT_EQ(controls.timerInfoLabel.stringValue(), "Postpone in 15:0.");
        EXPECT_TRUE(runLoop.timers.empty());
    });
    open();
}

TEST_F(OrderTest, ConstraintIsSwitchedBeforeItsLine) {
    at("Showing Timer Below Credentails",
       [this] { EXPECT_EQ(controls.timerViewToCredentailsBottom.priority, 750); });
    open("OSUpdateWithCred");
}

TEST_F(OrderTest, PanelIsShownAfterTheConstraints) {
    controls.credentailsRequiredView.hidden = true;
    at("Unshowing Timer Below OS Info", [this] {
        EXPECT_EQ(controls.timerViewToOSInfoBottom.priority, 250);
        EXPECT_TRUE(controls.credentailsRequiredView.hidden);
    });
    open("OSUpdateWithCred");
}

TEST_F(OrderTest, AdministratorsTitleIsLoggedBeforeItIsShown) {
    directory.write("AutoRebootMessages.plist", "content");
    propertyLists.result = PropertyListValue{PropertyListDictionary{{"title", {"T"}}}};
    at("Changed Title: ", [this] { EXPECT_EQ(controls.titleLabel.stringValue(), "Title text"); });
    open();
}

TEST_F(OrderTest, AdministratorsMessageIsLoggedBeforeItIsShown) {
    directory.write("AutoRebootMessages.plist", "content");
    propertyLists.result = PropertyListValue{PropertyListDictionary{{"info", {"I"}}}};
    at("Changed Info: ",
       [this] { EXPECT_EQ(controls.messageLabel.stringValue(), "Message text"); });
    open();
}

TEST_F(OrderTest, RebrandedNameIsLoggedBeforeItIsShown) {
    directory.write("rebrand.plist", "content");
    propertyLists.result = PropertyListValue{
        PropertyListDictionary{{"IS_REBRANDED", {"TRUE"}}, {"PRODUCT_NAME", {"Acme"}}}};
    at("Setting Rebranded Name: ",
       [this] { EXPECT_EQ(controls.productNameLabel.stringValue(), "Ostrel Agent"); });
    open();
}

TEST_F(OrderTest, RebrandedLogoIsLoggedBeforeItIsLoaded) {
    directory.write("rebrand.plist", "content");
    directory.write("images/rebranded-agent-logo.png", "logo");
    propertyLists.result = PropertyListValue{PropertyListDictionary{{"IS_REBRANDED", {"TRUE"}}}};
    at("App icon set to rebranded", [this] { EXPECT_TRUE(images.askedPaths.empty()); });
    open();
}

TEST_F(OrderTest, NoticeIsShownBeforeTheMissingTokenIsLogged) {
    childProcess.outputForUser["bob"] = "DISABLED";
    controls.unsupportedInfoStackView.hidden = true;
    at("Secure Token not enabled for ", [this] {
        EXPECT_FALSE(controls.unsupportedInfoStackView.hidden);
        EXPECT_EQ(controller->lastSecureTokenDisabledUser(), "bob");
    });
    pressUpdateNow("bob");
}

TEST_F(OrderTest, FieldShakesBeforeTheRefusalIsLogged) {
    at("Failed to validate credentials ",
       [this] { EXPECT_EQ(controls.passwordTextFiled.plainLayer.animations.size(), 1U); });
    pressUpdateNow("alice");
}

TEST_F(OrderTest, NoticeGoesBeforeThePasswordIsChecked) {
    at("Validating /Local/Default ", [this] {
        EXPECT_TRUE(controls.unsupportedInfoStackView.hidden);
        EXPECT_TRUE(accounts.checks.empty());
    });
    open("OSUpdateWithCred");
    controls.unsupportedInfoStackView.hidden = false;
    controls.userNameTextField.value = "alice";
    EXPECT_EQ(exitStatusOf([this] { controller->updateNow(); }), -1);
}

TEST_F(OrderTest, AttentionIsAskedForBeforeItsLine) {
    open();
    at("Dock bounce ", [this] { EXPECT_EQ(application.attentionRequests, 1); });
    runLoop.advance(std::chrono::seconds(5));
}

TEST_F(OrderTest, AnswerIsInTheAccessLogBeforeItIsSent) {
    open();
    at("Reply Received ", [] { EXPECT_EQ(agent().entries.size(), 2U); });
    EXPECT_EQ(exitStatusOf([this] { controller->postponeDeployment(); }), 0);
}

}  // namespace
}  // namespace velunor::testing
