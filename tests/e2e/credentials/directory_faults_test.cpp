// A directory that is out of order: the prompt says so in its log, refuses, and stays.

#include "tests/e2e/credentials/credentials_test.h"

namespace velunor::testing {
namespace {

struct Fault {
    const char* name;
    /// The lines that the check of the password leaves, in their order.
    std::vector<std::string> lines;
};

std::ostream& operator<<(std::ostream& stream, const Fault& fault) {
    return stream << fault.name;
}

const std::string localAttempt = "Validating /Local/Default Username ada\n";
const std::string localError =
    "Node Error Error Domain=Test Code=7 \"The directory has a fault\"\n";

class DirectoryFault : public CredentialsTest, public ::testing::WithParamInterface<Fault> {};

TEST_P(DirectoryFault, IsLoggedAndRefuses) {
    environment()["VELUNOR_TEST_DIRECTORY_FAULT"] = GetParam().name;
    startService();
    startPromptOf(FAULTY_PROMPT_PROGRAM);
    typePassword(password);
    updateNowUntil("Failed to validate credentials ada\n");
    const std::string log = systemLog();
    std::size_t at = log.find(localAttempt);
    ASSERT_NE(at, std::string::npos) << log;
    for (const std::string& line : GetParam().lines) {
        at = log.find(line, at);
        EXPECT_NE(at, std::string::npos) << line << log;
    }
    EXPECT_FALSE(logged("Validation Success"));
    EXPECT_TRUE(requests().empty());
    clickToTheEnd("Later");
    EXPECT_EQ(delivered(), R"({"postponse":{}})");
}

INSTANTIATE_TEST_SUITE_P(
    Directory, DirectoryFault,
    ::testing::Values(
        Fault{"no-session", {"Couln't Get Default Sessions\n", "Couln't Get Default Session\n"}},
        Fault{"no-search-node", {localError, "ODNode Node Creatation Failed For Search\n"}},
        Fault{"no-details", {localError, "ODNode Node Creatation Failed For Search\n"}},
        Fault{"no-search-path", {localError, "Node Details Cannnot Converted to ArOfStr\n"}},
        Fault{"search-path-is-a-text", {localError, "Node Details Cannnot Converted to ArOfStr\n"}},
        Fault{"search-path-holds-a-number",
              {localError, "Node Details Cannnot Converted to ArOfStr\n"}}),
    [](const auto& instance) {
        std::string name = instance.param.name;
        std::erase(name, '-');
        return name;
    });

}  // namespace
}  // namespace velunor::testing
