// The agent's settings file.

#include "agent/linux/settings.h"

#include <gmock/gmock.h>
#include <sys/stat.h>

#include <cstdlib>
#include <utility>

#include "agent/ltarnutils.h"
#include "platform/linux/directory/directory_settings.h"
#include "tests/linux/agent/agent_files.h"

namespace velunor::testing {
namespace {

using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::SizeIs;

/// The paths that every settings file has, on its lines 1 to 4.
constexpr const char* agentTable =
    "[agent]\nbase_path = \"/base\"\ndata_path = \"/data\"\nlog_path = \"/log\"\n";

AgentSettings parse(const std::string& text) {
    auto result = parseSettings(text, "F");
    EXPECT_TRUE(result) << result.error().description;
    return result ? *std::move(result) : AgentSettings();
}

std::string errorOf(const Expected<AgentSettings>& result) {
    return result ? "none" : result.error().description;
}

TEST(AgentSettingsText, EveryKeyIsRead) {
    const AgentSettings settings = parse(R"toml([agent]
product_name = "Ostrel Büro"
base_path = "/opt/b"
data_path = "/var/d"
log_path = "/var/l"

[service]
bus = "session"

[credentials]
admin_groups = ["staff"]
secure_token_tool = "/opt/token"
credential_checker = "/opt/checkpass"
credential_checker_socket = "/run/checkpass.socket"

[directory]
search_path = ["/Local/Default", "/LDAPv3/corp"]

[directory.node."/LDAPv3/corp"]
uri = "ldaps://ldap.example.org"
user_base = "ou=people,dc=example,dc=org"
user_filter = "(mail=%u)"
ca_file = "/etc/ca.pem"
timeout_seconds = 60
)toml");
    EXPECT_EQ(settings.productName, "Ostrel Büro");
    EXPECT_EQ(settings.basePath, "/opt/b");
    EXPECT_EQ(settings.dataPath, "/var/d");
    EXPECT_EQ(settings.logPath, "/var/l");
    EXPECT_EQ(settings.bus, ServiceBus::session);
    EXPECT_THAT(settings.adminGroups, ElementsAre("staff"));
    EXPECT_EQ(settings.secureTokenTool, "/opt/token");
    EXPECT_EQ(settings.directory.checker.program, "/opt/checkpass");
    EXPECT_EQ(settings.directory.checker.socketPath, "/run/checkpass.socket");
    EXPECT_THAT(settings.directory.searchPath, ElementsAre("/Local/Default", "/LDAPv3/corp"));
    ASSERT_THAT(settings.directory.nodes, SizeIs(1));
    const DirectoryNodeSettings& node = settings.directory.nodes.at("/LDAPv3/corp");
    EXPECT_EQ(node.uri, "ldaps://ldap.example.org");
    EXPECT_EQ(node.userBase, "ou=people,dc=example,dc=org");
    EXPECT_EQ(node.userFilter, "(mail=%u)");
    EXPECT_EQ(node.certificateAuthorities, "/etc/ca.pem");
    EXPECT_EQ(node.timeout, std::chrono::seconds(60));
    EXPECT_THAT(settings.unknownKeys, IsEmpty());
}

TEST(AgentSettingsText, PathsAloneLeaveTheDefaults) {
    const AgentSettings settings = parse(agentTable);
    EXPECT_EQ(settings.productName, "Ostrel Agent");
    EXPECT_EQ(settings.bus, std::nullopt);
    EXPECT_EQ(serviceBus(settings), ServiceBus::system);
    EXPECT_THAT(settings.adminGroups, ElementsAre("sudo", "wheel", "admin"));
    EXPECT_EQ(settings.secureTokenTool, "/usr/sbin/sysadminctl");
    EXPECT_EQ(settings.directory.checker.program,
              "/opt/velunor/ostrel_agent/bin/osupdate-checkpass");
    EXPECT_EQ(settings.directory.checker.socketPath, "/run/velunor/osupdate-checkpass.socket");
    EXPECT_THAT(settings.directory.searchPath, ElementsAre("/Local/Default"));
    EXPECT_THAT(settings.directory.nodes, IsEmpty());
}

TEST(AgentSettingsText, NodeWithTheAddressAloneHasTheDefaults) {
    const AgentSettings settings =
        parse(agentTable + std::string("[directory.node.\"/LDAPv3/x\"]\nuri = \"ldaps://x\"\n"));
    const DirectoryNodeSettings& node = settings.directory.nodes.at("/LDAPv3/x");
    EXPECT_EQ(node.userFilter, "(uid=%u)");
    EXPECT_EQ(node.timeout, std::chrono::seconds(5));
}

TEST(AgentSettingsText, ShortestTimeoutIsASecond) {
    const AgentSettings settings =
        parse(agentTable + std::string("[directory.node.n]\nuri = \"ldaps://x\"\n"
                                       "timeout_seconds = 1\n"));
    EXPECT_EQ(settings.directory.nodes.at("n").timeout, std::chrono::seconds(1));
}

TEST(AgentSettingsText, EmptyProductNameIsKept) {
    EXPECT_EQ(parse(std::string(agentTable) + "product_name = \"\"\n").productName, "");
}

TEST(AgentSettingsText, UnknownKeysAreNotedWithTheirPlaces) {
    const AgentSettings settings =
        parse(agentTable + std::string("colour = \"red\"\n[service]\nbuss = 1\n[credentials]\n"
                                       "groups = []\n[directory]\npath = []\n"
                                       "[directory.node.n]\nuri = \"ldaps://x\"\nport = 1\n"
                                       "[extra]\nkey = 1\n"));
    EXPECT_THAT(settings.unknownKeys,
                ::testing::UnorderedElementsAre(
                    "F:5: unknown key agent.colour", "F:7: unknown key service.buss",
                    "F:9: unknown key credentials.groups", "F:11: unknown key directory.path",
                    "F:14: unknown key directory.node.\"n\".port", "F:15: unknown key extra"));
}

struct WrongCase {
    const char* name;
    std::string text;
    const char* expected;
};

void PrintTo(const WrongCase& value, std::ostream* out) {
    *out << value.name;
}

class WrongAgentSettings : public ::testing::TestWithParam<WrongCase> {};

TEST_P(WrongAgentSettings, NameFileLineAndKey) {
    EXPECT_EQ(errorOf(parseSettings(GetParam().text, "F")), GetParam().expected);
}

std::string withAgent(const std::string& more) {
    return agentTable + more;
}

std::string withNode(const std::string& more) {
    return withAgent("[directory.node.n]\nuri = \"ldaps://x\"\n" + more);
}

INSTANTIATE_TEST_SUITE_P(
    Agent, WrongAgentSettings,
    ::testing::Values(
        WrongCase{"EmptyFile", "", "F:1: agent is missing"},
        WrongCase{"AgentIsNoTable", "\nagent = 3\n", "F:2: agent is not a table"},
        WrongCase{"ProductNameIsANumber", withAgent("product_name = 3\n"),
                  "F:5: agent.product_name is not a text"},
        WrongCase{"ProductNameHoldsNul", withAgent("product_name = \"a\\u0000b\"\n"),
                  "F:5: agent.product_name holds a NUL character"},
        WrongCase{"BasePathIsMissing", "[agent]\ndata_path = \"/d\"\nlog_path = \"/l\"\n",
                  "F:1: agent.base_path is missing"},
        WrongCase{"DataPathIsMissing", "[agent]\nbase_path = \"/b\"\nlog_path = \"/l\"\n",
                  "F:1: agent.data_path is missing"},
        WrongCase{"LogPathIsMissing", "[agent]\nbase_path = \"/b\"\ndata_path = \"/d\"\n",
                  "F:1: agent.log_path is missing"},
        WrongCase{"BasePathIsATruth",
                  "[agent]\nbase_path = true\ndata_path = \"/d\"\nlog_path = \"/l\"\n",
                  "F:2: agent.base_path is not a text"},
        WrongCase{"DataPathIsAList",
                  "[agent]\nbase_path = \"/b\"\ndata_path = [\"/d\"]\nlog_path = \"/l\"\n",
                  "F:3: agent.data_path is not a text"},
        WrongCase{"LogPathIsRelative",
                  "[agent]\nbase_path = \"/b\"\ndata_path = \"/d\"\nlog_path = \"l\"\n",
                  "F:4: agent.log_path is not an absolute path"},
        WrongCase{"DataPathIsEmpty",
                  "[agent]\nbase_path = \"/b\"\ndata_path = \"\"\nlog_path = \"/l\"\n",
                  "F:3: agent.data_path is not an absolute path"}),
    [](const auto& test) { return std::string(test.param.name); });

INSTANTIATE_TEST_SUITE_P(
    Rest, WrongAgentSettings,
    ::testing::Values(
        WrongCase{"ServiceIsNoTable", "service = 1\n" + std::string(agentTable),
                  "F:1: service is not a table"},
        WrongCase{"BusIsANumber", withAgent("[service]\nbus = 1\n"),
                  "F:6: service.bus is not a text"},
        WrongCase{"BusIsUnknown", withAgent("[service]\nbus = \"starter\"\n"),
                  R"(F:6: service.bus is neither "system" nor "session")"},
        WrongCase{"CredentialsIsNoTable", "credentials = []\n" + std::string(agentTable),
                  "F:1: credentials is not a table"},
        WrongCase{"AdminGroupsIsAText", withAgent("[credentials]\nadmin_groups = \"sudo\"\n"),
                  "F:6: credentials.admin_groups is not a list of texts"},
        WrongCase{"AdminGroupsHoldsANumber",
                  withAgent("[credentials]\nadmin_groups = [\n\"sudo\",\n3]\n"),
                  "F:8: credentials.admin_groups is not a list of texts"},
        WrongCase{"TokenToolIsANumber", withAgent("[credentials]\nsecure_token_tool = 0\n"),
                  "F:6: credentials.secure_token_tool is not a text"},
        WrongCase{"TokenToolIsRelative", withAgent("[credentials]\nsecure_token_tool = \"tool\"\n"),
                  "F:6: credentials.secure_token_tool is not an absolute path"},
        WrongCase{"TokenToolHoldsAnAssignment",
                  withAgent("[credentials]\nsecure_token_tool = \"/opt/a=b/tool\"\n"),
                  "F:6: credentials.secure_token_tool holds \"=\", and env(1) would not start it"},
        WrongCase{"CredentialCheckerIsAList",
                  withAgent("[credentials]\ncredential_checker = [\"/p\"]\n"),
                  "F:6: credentials.credential_checker is not a text"},
        WrongCase{"CredentialCheckerIsRelative",
                  withAgent("[credentials]\ncredential_checker = \"p\"\n"),
                  "F:6: credentials.credential_checker is not an absolute path"},
        WrongCase{"CredentialCheckerSocketIsABoolean",
                  withAgent("[credentials]\ncredential_checker_socket = true\n"),
                  "F:6: credentials.credential_checker_socket is not a text"},
        WrongCase{"CredentialCheckerSocketIsEmpty",
                  withAgent("[credentials]\ncredential_checker_socket = \"\"\n"),
                  "F:6: credentials.credential_checker_socket is not an absolute path"},
        WrongCase{"SearchPathIsAText", withAgent("[directory]\nsearch_path = \"/Search\"\n"),
                  "F:6: directory.search_path is not a list of texts"},
        WrongCase{"SearchPathHoldsNul", withAgent("[directory]\nsearch_path = [\"\\u0000\"]\n"),
                  "F:6: directory.search_path is not a list of texts"},
        WrongCase{"NodesAreNoTable", withAgent("[directory]\nnode = 1\n"),
                  "F:6: directory.node is not a table"},
        WrongCase{"NodeIsNoTable", withAgent("[directory.node]\nn = 1\n"),
                  "F:6: directory.node.\"n\" is not a table"},
        WrongCase{"NodeHasNoAddress", withAgent("[directory.node.n]\nuser_base = \"dc=x\"\n"),
                  "F:5: directory.node.\"n\".uri is missing"},
        WrongCase{"AddressIsANumber", withAgent("[directory.node.n]\nuri = 1\n"),
                  "F:6: directory.node.\"n\".uri is not a text"},
        WrongCase{"UserBaseIsANumber", withNode("user_base = 1\n"),
                  "F:7: directory.node.\"n\".user_base is not a text"},
        WrongCase{"UserFilterIsANumber", withNode("user_filter = 1\n"),
                  "F:7: directory.node.\"n\".user_filter is not a text"},
        WrongCase{"AuthoritiesAreARelativePath", withNode("ca_file = \"ca.pem\"\n"),
                  "F:7: directory.node.\"n\".ca_file is not an absolute path"},
        WrongCase{"TimeoutIsAText", withNode("timeout_seconds = \"5\"\n"),
                  "F:7: directory.node.\"n\".timeout_seconds is not a whole number from 1 to 60"},
        WrongCase{"TimeoutIsAFraction", withNode("timeout_seconds = 5.0\n"),
                  "F:7: directory.node.\"n\".timeout_seconds is not a whole number from 1 to 60"},
        WrongCase{"TimeoutIsNegative", withNode("timeout_seconds = -1\n"),
                  "F:7: directory.node.\"n\".timeout_seconds is not a whole number from 1 to 60"},
        WrongCase{"TimeoutIsZero", withNode("timeout_seconds = 0\n"),
                  "F:7: directory.node.\"n\".timeout_seconds is not a whole number from 1 to 60"},
        WrongCase{"TimeoutIsAbsurd", withNode("timeout_seconds = 9223372036854775807\n"),
                  "F:7: directory.node.\"n\".timeout_seconds is not a whole number from 1 to 60"}),
    [](const auto& test) { return std::string(test.param.name); });

TEST(AgentSettingsText, SyntaxErrorNamesTheLine) {
    EXPECT_THAT(errorOf(parseSettings("[agent]\nproduct_name = \"open\n", "F")), HasSubstr("F:2:"));
}

TEST(AgentSettingsText, RepeatedKeyIsAnError) {
    EXPECT_THAT(errorOf(parseSettings("a = 1\na = 2\n", "F")), HasSubstr("F:2:"));
}

TEST(AgentSettingsText, TextOtherThanUtf8IsAnError) {
    EXPECT_THAT(errorOf(parseSettings("\na = \"\xFF\"\n", "F")), HasSubstr("F:2:"));
}

TEST(AgentSettingsText, LettersOutsideOfQuotesAreErrors) {
    // The library's own classes of letters: each has another way to its answer.
    for (const char* letter : {"\u00A7", "\u00E4", "\u03E2", "\u1681", "\u2010", "\uFEFE"}) {
        const auto settings = parseSettings(std::string("[agent]\n") + letter + " = 1\n", "a.toml");
        ASSERT_FALSE(settings.has_value()) << letter;
        EXPECT_TRUE(settings.error().description.starts_with("a.toml:2: ")) << letter;
    }
}

TEST(AgentSettingsText, EndlessNestingIsAnError) {
    EXPECT_THAT(errorOf(parseSettings("a = " + std::string(100'000, '['), "F")), HasSubstr("F:1:"));
}

using AgentSettingsFile = AgentFiles;

TEST_F(AgentSettingsFile, WholeFileIsRead) {
    const Expected<AgentSettings> result = loadSettings(settingsFile());
    ASSERT_EQ(errorOf(result), "none");
    EXPECT_EQ(result->productName, "Test Agent");
}

TEST_F(AgentSettingsFile, MissingFileIsNamed) {
    EXPECT_EQ(errorOf(loadSettings(directory() / "none.toml")),
              (directory() / "none.toml").string() + ": No such file or directory");
}

TEST_F(AgentSettingsFile, DirectoryIsAnError) {
    EXPECT_EQ(errorOf(loadSettings(directory())), directory().string() + ": Not a regular file");
}

TEST_F(AgentSettingsFile, PipeIsAnErrorAndNoWait) {
    const std::string pipe = directory() / "pipe.toml";
    ASSERT_EQ(mkfifo(pipe.c_str(), 0600), 0);
    EXPECT_EQ(errorOf(loadSettings(pipe)), pipe + ": Not a regular file");
}

TEST_F(AgentSettingsFile, LoopOfLinksIsAnError) {
    std::filesystem::create_symlink(directory() / "loop.toml", directory() / "loop.toml");
    EXPECT_THAT(errorOf(loadSettings(directory() / "loop.toml")), HasSubstr("loop.toml: "));
}

TEST_F(AgentSettingsFile, LargestFileIsRead) {
    std::string text = std::string(agentTable) + "# ";
    text.resize(1'048'576, 'x');
    writeFile(settingsFile(), text);
    EXPECT_EQ(errorOf(loadSettings(settingsFile())), "none");
}

TEST_F(AgentSettingsFile, FileOverTheLimitIsAnError) {
    writeFile(settingsFile(),
              std::string(agentTable) + "# " + std::string(largestSettingsFile, 'x'));
    EXPECT_EQ(errorOf(loadSettings(settingsFile())),
              settingsFile().string() + ": is larger than 1048576 bytes");
}

TEST_F(AgentSettingsFile, EnvironmentNamesAnotherFile) {
    EXPECT_EQ(*settingsPath(), settingsFile().string());
}

TEST_F(AgentSettingsFile, SystemsFileIsUsedWithoutTheEnvironment) {
    setenv("VELUNOR_AGENT_SETTINGS", "", 1);
    EXPECT_EQ(*settingsPath(), "/etc/velunor/ostrel-agent.toml");
    unsetenv("VELUNOR_AGENT_SETTINGS");
    EXPECT_EQ(*settingsPath(), "/etc/velunor/ostrel-agent.toml");
}

TEST_F(AgentSettingsFile, EnvironmentNamesTheBusThatTheFileLeavesOpen) {
    AgentSettings settings = parse(agentTable);
    for (const auto& [name, bus] :
         {std::pair("session", ServiceBus::session), std::pair("system", ServiceBus::system),
          std::pair("starter", ServiceBus::system)}) {
        setenv("VELUNOR_AGENT_BUS", name, 1);
        EXPECT_EQ(serviceBus(settings), bus) << name;
    }
    setenv("VELUNOR_AGENT_BUS", "session", 1);
    settings.bus = ServiceBus::system;
    EXPECT_EQ(serviceBus(settings), ServiceBus::system);
    unsetenv("VELUNOR_AGENT_BUS");
}

TEST_F(AgentSettingsFile, InitialisationFillsTheGlobalsAndTheSettings) {
    initialiseLibrary();
    ASSERT_NE(gv_globvars, nullptr);
    EXPECT_EQ(gv_globvars->tarnagentBasePath, (directory() / "base").string());
    EXPECT_EQ(gv_globvars->tarnagentDataDictPath, (directory() / "data").string());
    EXPECT_EQ(gv_globvars->tarnagentLogPath, (directory() / "log").string());
    EXPECT_EQ(UtilsWrapper().productName(), "Test Agent");
    EXPECT_EQ(loadedSettings().bus, ServiceBus::session);
}

}  // namespace
}  // namespace velunor::testing
