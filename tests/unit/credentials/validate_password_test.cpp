#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "credentials/os_update_util.h"
#include "tests/support/doubles/fake_directory.h"
#include "tests/support/doubles/recording_log.h"

namespace velunor::testing {

namespace {

using ::testing::Each;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::Not;

constexpr const char* searchPathKey = "dsAttrTypeStandard:SearchPath";

class PasswordValidation : public ::testing::Test {
  protected:
    bool validate(const std::string& node, const std::string& password = "correct horse") {
        return OSUpdateUtil::validatePasswordForDomain(node, "ada", Secret(password), directory,
                                                       log);
    }

    bool validateAll(const std::string& user = "ada",
                     const std::string& password = "correct horse") {
        return OSUpdateUtil::validatePasswordForAllDomain(user, Secret(password), directory, log);
    }

    /// Adds a node that accepts no one, or ada's password.
    void addNode(const std::string& name, bool accepts) {
        directory.nodes[name].accepted.clear();
        if (accepts) {
            directory.nodes[name].accepted.emplace_back("ada", "correct horse");
        }
    }

    void setSearchPath(const std::vector<std::string>& names) {
        directory.nodes["/Search"].details = searchPathDetails(names);
    }

    void setSearchDetails(PropertyListDictionary details) {
        directory.nodes["/Search"].details = std::move(details);
    }

    const std::string wrong = "Credentails Error " + wrongCredentials().description();
    FakeDirectory directory;
    RecordingLog log;
};

using ValidatePasswordForDomain = PasswordValidation;
using ValidatePasswordForAllDomain = PasswordValidation;

TEST_F(ValidatePasswordForDomain, AcceptsWhatTheNodeAccepts) {
    addNode("/Local/Default", true);
    EXPECT_TRUE(validate("/Local/Default"));
    EXPECT_THAT(log.lines(), ElementsAre("Validating /Local/Default Username ada",
                                         "Password validated Successfully"));
    EXPECT_THAT(directory.calls,
                ElementsAre("session", "open /Local/Default", "credentials /Local/Default ada"));
}

TEST_F(ValidatePasswordForDomain, RefusesAWrongPasswordWithTheNodesError) {
    addNode("/Local/Default", true);
    EXPECT_FALSE(validate("/Local/Default", "wrong"));
    EXPECT_THAT(log.lines(), ElementsAre("Validating /Local/Default Username ada",
                                         "Credentails Error Error Domain=test.directory Code=5000 "
                                         "\"Wrong user or password\""));
}

TEST_F(ValidatePasswordForDomain, RefusesWithoutADefaultSession) {
    directory.hasSession = false;
    EXPECT_FALSE(validate("/Local/Default"));
    EXPECT_THAT(log.lines(), ElementsAre("Validating /Local/Default Username ada",
                                         "Couln't Get Default Sessions"));
}

TEST_F(ValidatePasswordForDomain, RefusesWhenTheNodeDoesNotOpen) {
    EXPECT_FALSE(validate("/LDAPv3/corp"));
    EXPECT_THAT(log.lines(), ElementsAre("Validating /LDAPv3/corp Username ada",
                                         "Node Error " + noSuchNode().description()));
    EXPECT_THAT(directory.checks, IsEmpty());
}

TEST_F(ValidatePasswordForDomain, PassesAnEmptyUserNameAndAnEmptyPasswordOn) {
    directory.nodes["/Local/Default"].accepted = {{"", ""}};
    EXPECT_TRUE(
        OSUpdateUtil::validatePasswordForDomain("/Local/Default", "", Secret(), directory, log));
    EXPECT_THAT(directory.checks, ElementsAre("/Local/Default :"));
}

TEST_F(ValidatePasswordForDomain, PassesBlanksAndForeignCharactersOfAPasswordOnUnchanged) {
    addNode("/Local/Default", false);
    const std::string password = " p\u00e4ss \"w\\rd\" \n";
    EXPECT_FALSE(validate("/Local/Default", password));
    EXPECT_THAT(directory.checks, ElementsAre("/Local/Default ada:" + password));
}

TEST_F(ValidatePasswordForDomain, TakesAFreshSessionAndNodeEachTimeAndReleasesThem) {
    addNode("/Local/Default", true);
    EXPECT_TRUE(validate("/Local/Default"));
    EXPECT_TRUE(validate("/Local/Default"));
    EXPECT_THAT(directory.calls,
                ElementsAre("session", "open /Local/Default", "credentials /Local/Default ada",
                            "session", "open /Local/Default", "credentials /Local/Default ada"));
    EXPECT_EQ(directory.sessionsAlive, 0);
    EXPECT_EQ(directory.nodesAlive, 0);
}

TEST_F(ValidatePasswordForAllDomain, RefusesWithoutADefaultSession) {
    directory.hasSession = false;
    EXPECT_FALSE(validateAll());
    EXPECT_THAT(log.lines(), ElementsAre("Couln't Get Default Session"));
}

TEST_F(ValidatePasswordForAllDomain, RefusesWhenTheSearchNodeDoesNotOpen) {
    EXPECT_FALSE(validateAll());
    EXPECT_THAT(log.lines(), ElementsAre("ODNode Node Creatation Failed For Search"));
    EXPECT_THAT(directory.calls, ElementsAre("session", "open /Search"));
}

TEST_F(ValidatePasswordForAllDomain, RefusesWithTheSameLineWhenTheSearchNodeTellsNoDetails) {
    directory.nodes["/Search"].details = std::nullopt;
    EXPECT_FALSE(validateAll());
    EXPECT_THAT(log.lines(), ElementsAre("ODNode Node Creatation Failed For Search"));
}

TEST_F(ValidatePasswordForAllDomain, AsksTheSearchNodeForTheSearchPathAlone) {
    setSearchPath({});
    EXPECT_FALSE(validateAll());
    EXPECT_THAT(directory.calls, ElementsAre("session", "open /Search",
                                             "details /Search dsAttrTypeStandard:SearchPath"));
}

TEST_F(ValidatePasswordForAllDomain, RefusesWhenTheSearchPathIsMissing) {
    setSearchDetails({{"dsAttrTypeStandard:Other", {PropertyListArray{{"/LDAPv3/corp"}}}}});
    EXPECT_FALSE(validateAll());
    EXPECT_THAT(log.lines(), ElementsAre("Node Details Cannnot Converted to ArOfStr"));
}

TEST_F(ValidatePasswordForAllDomain, RefusesASearchPathThatIsASingleText) {
    setSearchDetails({{searchPathKey, {std::string("/LDAPv3/corp")}}});
    EXPECT_FALSE(validateAll());
    EXPECT_THAT(log.lines(), ElementsAre("Node Details Cannnot Converted to ArOfStr"));
}

TEST_F(ValidatePasswordForAllDomain, RefusesASearchPathWithOneElementThatIsNoText) {
    addNode("/LDAPv3/corp", true);
    setSearchDetails(
        {{searchPathKey, {PropertyListArray{{std::string("/LDAPv3/corp")}, {std::int64_t{7}}}}}});
    EXPECT_FALSE(validateAll());
    EXPECT_THAT(log.lines(), ElementsAre("Node Details Cannnot Converted to ArOfStr"));
    EXPECT_THAT(directory.checks, IsEmpty());
}

TEST_F(ValidatePasswordForAllDomain, RefusesAnEmptySearchPathAfterOneLine) {
    setSearchPath({});
    EXPECT_FALSE(validateAll());
    EXPECT_THAT(log.lines(), ElementsAre("Node Details []"));
}

TEST_F(ValidatePasswordForAllDomain, NeverAsksTheLocalNodeWhenItStandsAlone) {
    addNode("/Local/Default", true);
    setSearchPath({"/Local/Default"});
    EXPECT_FALSE(validateAll());
    EXPECT_THAT(log.lines(), ElementsAre("Node Details [\"/Local/Default\"]"));
    EXPECT_THAT(directory.checks, IsEmpty());
}

TEST_F(ValidatePasswordForAllDomain, SkipsTheLocalNodeFirstInThePathAndTriesTheOthersInOrder) {
    addNode("/B", false);
    addNode("/A", false);
    setSearchPath({"/Local/Default", "/B", "/A"});
    EXPECT_FALSE(validateAll());
    EXPECT_THAT(directory.checks, ElementsAre("/B ada:correct horse", "/A ada:correct horse"));
}

TEST_F(ValidatePasswordForAllDomain, SkipsTheLocalNodeInTheMiddleAndAtTheEnd) {
    addNode("/B", false);
    addNode("/A", false);
    setSearchPath({"/B", "/Local/Default", "/A", "/Local/Default"});
    EXPECT_FALSE(validateAll());
    EXPECT_THAT(directory.checks, ElementsAre("/B ada:correct horse", "/A ada:correct horse"));
}

TEST_F(ValidatePasswordForAllDomain, TriesANodeThatDiffersFromTheLocalOneInLetterCaseOnly) {
    addNode("/local/default", true);
    setSearchPath({"/local/default"});
    EXPECT_TRUE(validateAll());
    EXPECT_THAT(directory.checks, ElementsAre("/local/default ada:correct horse"));
}

TEST_F(ValidatePasswordForAllDomain, TriesANodeWhoseNameOnlyBeginsLikeTheLocalOne) {
    addNode("/Local/Default2", true);
    setSearchPath({"/Local/Default2"});
    EXPECT_TRUE(validateAll());
}

TEST_F(ValidatePasswordForAllDomain, TriesANodeListedTwiceTwice) {
    addNode("/A", false);
    setSearchPath({"/A", "/A"});
    EXPECT_FALSE(validateAll());
    EXPECT_THAT(directory.checks, ElementsAre("/A ada:correct horse", "/A ada:correct horse"));
}

TEST_F(ValidatePasswordForAllDomain, EndsAtTheFirstNodeThatAcceptsAndContactsNoLaterOne) {
    addNode("/A", false);
    addNode("/B", true);
    addNode("/C", true);
    setSearchPath({"/A", "/B", "/C"});
    EXPECT_TRUE(validateAll());
    EXPECT_THAT(
        log.lines(),
        ElementsAre("Node Details [\"/A\", \"/B\", \"/C\"]", "Validating /A Username ada", wrong,
                    "Validating /B Username ada", "Password validated Successfully"));
    EXPECT_THAT(directory.calls, Not(::testing::Contains("open /C")));
}

TEST_F(ValidatePasswordForAllDomain, GoesOnAfterANodeThatDoesNotOpen) {
    addNode("/B", true);
    setSearchPath({"/A", "/B"});
    EXPECT_TRUE(validateAll());
    EXPECT_THAT(log.lines(),
                ElementsAre("Node Details [\"/A\", \"/B\"]", "Validating /A Username ada",
                            "Node Error " + noSuchNode().description(),
                            "Validating /B Username ada", "Password validated Successfully"));
}

TEST_F(ValidatePasswordForAllDomain, AddsNoLineOfItsOwnWhenNoNodeAccepts) {
    addNode("/A", false);
    setSearchPath({"/A"});
    EXPECT_FALSE(validateAll());
    EXPECT_THAT(log.lines(),
                ElementsAre("Node Details [\"/A\"]", "Validating /A Username ada", wrong));
}

TEST_F(ValidatePasswordForAllDomain, PassesAnEmptyUserNameAndAnEmptyPasswordOn) {
    addNode("/A", false);
    setSearchPath({"/A"});
    EXPECT_FALSE(validateAll("", ""));
    EXPECT_THAT(directory.checks, ElementsAre("/A :"));
}

TEST_F(ValidatePasswordForAllDomain, PrintsTheNodeNamesWithTheirQuotationMarksEscaped) {
    setSearchPath({"/LDAPv3/\"corp\""});
    EXPECT_FALSE(validateAll());
    EXPECT_THAT(log.lines(), ::testing::Contains("Node Details [\"/LDAPv3/\\\"corp\\\"\"]"));
}

TEST_F(ValidatePasswordForAllDomain, LeavesNoSessionOrNodeOpen) {
    addNode("/A", true);
    setSearchPath({"/A"});
    EXPECT_TRUE(validateAll());
    EXPECT_EQ(directory.sessionsAlive, 0);
    EXPECT_EQ(directory.nodesAlive, 0);
}

TEST_F(PasswordValidation, NeverLogsThePasswordWhateverTheAnswer) {
    addNode("/Local/Default", false);
    addNode("/B", true);
    setSearchPath({"/A", "/Local/Default", "/B"});
    EXPECT_FALSE(validate("/Local/Default"));
    EXPECT_TRUE(validateAll());
    EXPECT_THAT(log.lines(), Each(Not(HasSubstr("correct horse"))));
}

}  // namespace

}  // namespace velunor::testing
