#pragma once

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <chrono>
#include <functional>
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
  public:
    PromptFixture(const PromptFixture&) = delete;
    PromptFixture& operator=(const PromptFixture&) = delete;
    ~PromptFixture() override;

  protected:
    PromptFixture();
    void TearDown() override;

    void makeController(std::vector<std::string> arguments);

    /// Opens a prompt as the agent would.
    void open(const std::string& kind = "OSUpdate", const std::string& proceeds = "false",
              const std::string& minutes = "15", const std::string& hidesPostpone = "false",
              const std::string& count = "2");

    /// What was logged since the prompt was opened.
    [[nodiscard]] std::vector<std::string> linesSinceOpening() const;

    /// The exit status that `action` ends the process with; -1 when it does not end it.
    static int exitStatusOf(const std::function<void()>& action);

    /// The only message that the service received.
    [[nodiscard]] static std::string sentJson();

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
