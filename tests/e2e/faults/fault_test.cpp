#include "tests/e2e/faults/fault_test.h"

#include <gmock/gmock.h>

#include <regex>
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
    sessionBus_.emplace(bus().address());
    accessibilityBus_.emplace(bus().accessibilityAddress());
    aftermath_.emplace(directory());
}

void FaultTest::enterPassword() {
    typePassword(password);
    expectNobodyIsTold();
}

void FaultTest::startWithPassword() {
    noteBefore();
    startPrompt();
    enterPassword();
}

void FaultTest::clickUpdateNow() {
    const std::string line = "Update Now Clicked\n";
    const std::size_t before = timesLogged(line);
    // A full disk takes no line.
    const auto isTaken = [&] {
        return timesLogged(line) > before || !serviceProcess_->messages().empty();
    };
    ASSERT_TRUE(clickButton("Go ahead")) << systemLog();
    ASSERT_TRUE(eventually(isTaken)) << systemLog();
}

void FaultTest::answerUntilTheServiceHasIt() {
    clickUpdateNow();
    ASSERT_TRUE(eventually([&] { return serviceProcess_->messages().size() == 1; })) << systemLog();
}

int FaultTest::secondsShown() {
    static const std::regex form(R"(Waits for (\d+) min (\d+) sec\.)");
    for (const Accessible& control : controls()) {
        std::smatch parts;
        if (control.role == "label" && std::regex_match(control.name, parts, form)) {
            return std::stoi(parts[1]) * 60 + std::stoi(parts[2]);
        }
    }
    return -1;
}

void FaultTest::expectEnd(Ending ending) {
    EXPECT_EQ(process().wait(), ending) << systemLog();
    expectSound();
    EXPECT_THAT(aftermath_->processesLeft(), IsEmpty());
    EXPECT_THAT(aftermath_->filesLeft(), IsEmpty());
    expectBusesCarryTheMessageAlone();
    expectPasswordNowhere(password);
}

void FaultTest::expectSound() {
    EXPECT_EQ(accessLog().torn, "") << readFile(accessLogPath());
    EXPECT_THAT(childrenOf(process().id()), IsEmpty());
}

void FaultTest::expectOneAnswer() {
    EXPECT_TRUE(serviceProcess().messages() == std::vector<std::string>{proceeding()});
    EXPECT_EQ(tracesInBytes(sessionBus_->bytes(), "session bus", password).size(), 1U);
    EXPECT_EQ(accessLog().starts, 1U);
    EXPECT_EQ(accessLog().proceeds, 1U);
}

void FaultTest::expectNobodyIsTold() {
    std::string bullets;
    for (std::size_t index = 0; index < password.size(); ++index) {
        bullets += "\u25CF";
    }
    // The keys take their time from the display to the field.
    EXPECT_TRUE(eventually([&] {
        const auto field = findControl(controls(), "text", "Password");
        return field && reader().contentOf(*field) == bullets;
    }));
    for (const Accessible& control : controls()) {
        const std::string told =
            control.name + "\n" + control.description + "\n" + reader().contentOf(control);
        EXPECT_EQ(told.find(password), std::string::npos) << control.role;
    }
}

void FaultTest::expectBusesCarryTheMessageAlone() {
    const std::vector<Trace> carried = tracesInBytes(sessionBus_->bytes(), "session bus", password);
    EXPECT_LE(carried.size(), 1U);
    for (const Trace& trace : carried) {
        EXPECT_TRUE(trace.coding == "bytes" && trace.before.ends_with(R"(passwd":")")) << trace;
    }
    EXPECT_THAT(tracesInBytes(accessibilityBus_->bytes(), "accessibility bus", password),
                IsEmpty());
}

std::string FaultTest::proceeding() const {
    return R"({"proceed":{"userName":"ada","passwd":")" + password + R"("}})";
}

AccessLogEntries FaultTest::accessLog() const {
    return entriesOf(readFile(accessLogPath()));
}

}  // namespace velunor::testing
