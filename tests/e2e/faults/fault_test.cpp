#include "tests/e2e/faults/fault_test.h"

#include <gmock/gmock.h>

#include <sstream>
#include <stdexcept>

namespace velunor::testing {
namespace {

using ::testing::IsEmpty;

std::string bytesOf(const std::string& hexadecimal) {
    constexpr int base = 16;
    std::string bytes;
    for (std::size_t at = 0; at + 1 < hexadecimal.size(); at += 2) {
        bytes += static_cast<char>(std::stoi(hexadecimal.substr(at, 2), nullptr, base));
    }
    return bytes;
}

}  // namespace

ServiceProcess::ServiceProcess(const std::filesystem::path& directory, const std::string& address,
                               const std::string& mode)
    : output_(directory / "requests"),
      process_(std::make_unique<ChildProcess>(
          Command{.arguments = {reachable(FAKE_SERVICE_PROGRAM), address, mode, "own"},
                  .environment = {},
                  .output = output_,
                  .errors = directory / "service.log"})) {
    if (!eventually([this] { return readFile(output_).starts_with("ready\n"); })) {
        throw std::runtime_error("the service did not start: " +
                                 readFile(directory / "service.log"));
    }
}

std::vector<std::string> ServiceProcess::messages() const {
    std::vector<std::string> messages;
    std::istringstream lines(readFile(output_));
    for (std::string line; std::getline(lines, line);) {
        if (line.starts_with("PatchOSUpdateNotificationStatus ")) {
            messages.push_back(bytesOf(line.substr(line.find(' ') + 1)));
        }
    }
    return messages;
}

ServiceProcess& FaultTest::startServiceProcess(const std::string& mode) {
    serviceProcess_ = std::make_unique<ServiceProcess>(directory(), bus().address(), mode);
    return *serviceProcess_;
}

void FaultTest::noteBefore() {
    display();
    bus();
    aftermath_.emplace(directory());
}

void FaultTest::startWithPassword() {
    noteBefore();
    startPrompt();
    typePassword(password);
}

void FaultTest::answerUntilTheServiceHasIt() {
    ASSERT_TRUE(clickButton("Go ahead")) << systemLog();
    ASSERT_TRUE(eventually([&] { return serviceProcess_->messages().size() == 1; })) << systemLog();
}

void FaultTest::expectEnd(Ending ending) {
    EXPECT_EQ(process().wait(), ending) << systemLog();
    expectSound();
    EXPECT_THAT(aftermath_->processesLeft(), IsEmpty());
    EXPECT_THAT(aftermath_->filesLeft(), IsEmpty());
    expectPasswordNowhere(password);
}

void FaultTest::expectSound() {
    EXPECT_EQ(accessLog().torn, "") << readFile(accessLogPath());
    EXPECT_THAT(childrenOf(process().id()), IsEmpty());
}

std::string FaultTest::proceeding() const {
    return R"({"proceed":{"userName":"ada","passwd":")" + password + R"("}})";
}

AccessLogEntries FaultTest::accessLog() const {
    return entriesOf(readFile(accessLogPath()));
}

}  // namespace velunor::testing
