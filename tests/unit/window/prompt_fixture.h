#pragma once

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <chrono>
#include <memory>
#include <string>
#include <vector>

#include "tests/support/doubles/agent_recording.h"
#include "tests/support/doubles/fake_directory.h"
#include "tests/support/doubles/fakes.h"
#include "tests/support/doubles/plain_controls.h"
#include "tests/support/doubles/recording_log.h"
#include "tests/support/doubles/recording_services.h"
#include "tests/support/temporary_directory.h"
#include "window/view_controller.h"

namespace velunor::testing {

/// A controller over plain controls and recording services.
class PromptFixture : public ::testing::Test {
  protected:
    PromptFixture() {
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
    void TearDown() override { agent().join(); }

    void makeController(std::vector<std::string> arguments) {
        arguments.insert(arguments.begin(), "/opt/prompt");
        PromptServices services{
            log,         runLoop, screens,      propertyLists, images,   segmenter,    processInfo,
            processExit, clock,   childProcess, consoleUsers,  accounts, "/the/token", {}};
        services.replyLimit = replyLimit;
        if (hasApplication) {
            services.application.connect(&application);
        }
        controller =
            std::make_unique<ViewController>(std::move(arguments), globals, services, view);
    }

    /// Opens a prompt as the agent would.
    void open(const std::string& kind = "OSUpdate", const std::string& proceeds = "false",
              const std::string& minutes = "15", const std::string& hidesPostpone = "false",
              const std::string& count = "2") {
        makeController({kind, "Debian 12.9", proceeds, minutes, hidesPostpone, count});
        controller->viewDidLoad();
        openingLines = log.lines().size();
    }

    /// What was logged since the prompt was opened.
    [[nodiscard]] std::vector<std::string> linesSinceOpening() const {
        const auto lines = log.lines();
        return {lines.begin() + static_cast<std::ptrdiff_t>(openingLines), lines.end()};
    }

    /// The exit status that `action` ends the process with; -1 when it does not end it.
    template <class Action>
    int exitStatusOf(Action&& action) {
        try {
            action();
        } catch (const ExitCalled& exit) {
            agent().join();
            return exit.status;
        }
        return -1;
    }

    /// The only message that the service received.
    [[nodiscard]] static std::string sentJson() {
        return agent().requests.size() == 1 ? agent().requests.front().second : "not one request";
    }

    TemporaryDirectory directory;
    RecordingLog log;
    ManualRunLoop runLoop;
    FakeScreens screens;
    ScriptedPropertyLists propertyLists;
    FakeImageReader images;
    FakeSegmenter segmenter;
    FakeProcessInfo processInfo;
    ThrowingExit processExit;
    FixedClock clock;
    ScriptedChildProcess childProcess;
    FakeConsoleUsers consoleUsers;
    FakeDirectory accounts;
    FakeApplication application;
    bool hasApplication = true;
    std::chrono::milliseconds replyLimit = replyDeadline;
    PlainControls controls;
    PromptView view = controls.view();
    Globals globals;
    std::unique_ptr<ViewController> controller;
    std::size_t openingLines = 0;
};

}  // namespace velunor::testing
