#include "tests/unit/window/prompt_fixture.h"

#include <filesystem>
#include <utility>

namespace velunor::testing {

PromptFixture::PromptFixture() {
    resetAgent();
    globals.i18nDefault.loadI18NPropertyFile();
    globals.productName = "Ostrel Agent";
    globals.basePath = directory.path();
    globals.dataPath = directory.path();
    globals.accessLogPath = directory.file("rebootaccess.log");
    std::filesystem::create_directory(globals.basePath + "/images");
    accounts.nodes.try_emplace("/Local/Default");
    accounts.nodes.try_emplace("/Search");
    accounts.localNodes.emplace();
}

PromptFixture::~PromptFixture() = default;

void PromptFixture::TearDown() {
    agent().join();
}

void PromptFixture::makeController(std::vector<std::string> arguments) {
    arguments.insert(arguments.begin(), "/opt/prompt");
    PromptServices services{
        log,         runLoop, screens,      propertyLists, images,   segmenter,    processInfo,
        processExit, clock,   childProcess, consoleUsers,  accounts, "/the/token", {}};
    services.replyLimit = replyLimit;
    if (hasApplication) {
        services.application.connect(&application);
    }
    controller = std::make_unique<ViewController>(std::move(arguments), globals, services, view);
}

void PromptFixture::open(const std::string& kind, const std::string& proceeds,
                         const std::string& minutes, const std::string& hidesPostpone,
                         const std::string& count) {
    makeController({kind, "Debian 12.9", proceeds, minutes, hidesPostpone, count});
    controller->viewDidLoad();
    openingLines = log.lines().size();
}

std::vector<std::string> PromptFixture::linesSinceOpening() const {
    const auto lines = log.lines();
    return {lines.begin() + static_cast<std::ptrdiff_t>(openingLines), lines.end()};
}

int PromptFixture::exitStatusOf(const std::function<void()>& action) {
    try {
        action();
    } catch (const ExitCalled& exit) {
        agent().join();
        return exit.status;
    }
    return -1;
}

std::string PromptFixture::sentJson() {
    return agent().requests.size() == 1 ? agent().requests.front().second : "not one request";
}

}  // namespace velunor::testing
