#include "tests/model/driven_prompt.h"

#include <chrono>
#include <filesystem>
#include <functional>
#include <memory>

#include "app/start_up.h"
#include "tests/support/doubles/agent_recording.h"
#include "tests/support/doubles/fake_directory.h"
#include "tests/support/doubles/fakes.h"
#include "tests/support/doubles/plain_controls.h"
#include "tests/support/doubles/recording_log.h"
#include "tests/support/doubles/recording_services.h"
#include "tests/support/temporary_directory.h"
#include "window/view_controller.h"

namespace velunor::testing {
namespace {

/// The activity that keeps the countdown awake, as told to the system.
struct RecordingActivity : ProcessActivity {
    Token beginUserInitiated(std::string_view /*reason*/) override { return 7; }
    void end(Token token) override { ended = token == 7; }
    bool ended = false;
};

/// The controller over plain controls, in a world that a sequence tells.
class DrivenPrompt {
  public:
    explicit DrivenPrompt(const World& world) : world_(world) {
        resetAgent();
        globals_.i18nDefault.loadI18NPropertyFile();
        globals_.productName = "Ostrel Agent";
        globals_.dataPath = folder();
        globals_.basePath = folder();
        globals_.accessLogPath =
            folder() + (world.logFile == LogFile::impossible ? "missing/" : "") + logName;
        std::filesystem::remove(globals_.accessLogPath);
        if (world.logFile == LogFile::present) {
            directory().write(logName, "");
        }
        processInfo_.user = "carol";
        controls_.userNameTextField.hidden = true;
        controls_.unsupportedInfoStackView.hidden = true;
        arrangeUser();
        arrangeDirectory();
        child_.outputForUser = world.tokenOutput;
        child_.otherwise = world.otherTokenOutput;
        agent().service =
            world.service == ServiceBehaviour::absent   ? AgentRecording::Service::absent
            : world.service == ServiceBehaviour::silent ? AgentRecording::Service::silent
                                                        : AgentRecording::Service::replies;
        std::vector<std::string> arguments{"/opt/prompt"};
        if (world.arguments) {
            arguments.insert(arguments.end(), world.arguments->begin(), world.arguments->end());
        }
        controller_ =
            std::make_unique<ViewController>(arguments, globals_, services(), controls_.view());
    }
    DrivenPrompt(const DrivenPrompt&) = delete;
    DrivenPrompt& operator=(const DrivenPrompt&) = delete;
    ~DrivenPrompt() { agent().join(); }

    /// Lets it live through all of the events, or until it ends.
    [[nodiscard]] Outcome outcomeOf(const std::vector<Event>& events) {
        try {
            delegate_.applicationDidFinishLaunching();
            open();
            for (const Event& event : events) {
                if (activity_.ended) {
                    break;
                }
                happen(event);
            }
        } catch (const ExitCalled& exit) {
            seen_.exitStatus = exit.status;
        }
        agent().join();
        if (controller_) {
            tellState();
        }
        // Its work in the background may outlive it.
        controller_.reset();
        runLoop_.drain();
        tellRecords();
        return seen_;
    }

  private:
    static constexpr const char* logName = "rebootaccess.log";

    /// One directory for all prompts; each starts with the log that its world tells.
    static const TemporaryDirectory& directory() {
        static const TemporaryDirectory shared;
        return shared;
    }
    static std::string folder() { return directory().path().string() + "/"; }

    [[nodiscard]] PromptServices services() {
        PromptServices services{
            log_,  runLoop_, screens_, propertyLists_, images_,   segmenter_,   processInfo_,
            exit_, clock_,   child_,   consoleUsers_,  accounts_, "/the/token", {}};
        services.application.connect(&application_);
        if (world_.service != ServiceBehaviour::replies) {
            services.replyLimit = std::chrono::milliseconds(0);
        }
        return services;
    }

    void arrangeUser() {
        constexpr std::uint32_t identifier = 1000;
        if (world_.consoleUser != ConsoleUser::nobody) {
            consoleUsers_.identifier = identifier;
        }
        if (world_.consoleUser == ConsoleUser::nameless) {
            consoleUsers_.entry.emplace();
        } else if (world_.consoleUser == ConsoleUser::named) {
            consoleUsers_.entry.emplace().name = consoleUserName;
        }
        if (world_.picture != Picture::fails) {
            accounts_.localNodes.emplace();
        }
        if (world_.picture == Picture::found) {
            const auto image = std::make_shared<FakeImage>(Size{64, 48});
            images_.byPath["/face"] = image;
            images_.clipped = image;
            accounts_.localNodes->users =
                std::vector<RecordScript>{{{std::string(attributeJPEGPhoto),
                                            DirectoryValues(std::vector<std::vector<std::byte>>())},
                                           {std::string(attributePicture),
                                            DirectoryValues(std::vector<std::string>{"/face"})}}};
        }
    }

    void arrangeDirectory() {
        accounts_.hasSession = world_.hasDirectorySession;
        arrangeSearchNode();
        for (const std::string& node : world_.nodes) {
            openNode(node);
        }
    }

    void arrangeSearchNode() {
        accounts_.nodes.erase("/Search");
        if (world_.searchNode == SearchNode::doesNotOpen) {
            return;
        }
        NodeScript& search = accounts_.nodes["/Search"];
        if (world_.searchNode == SearchNode::lacksThePath) {
            search.details = PropertyListDictionary{{"another", {"text"}}};
        } else if (world_.searchNode == SearchNode::hasNoTexts) {
            search.details =
                PropertyListDictionary{{std::string(attributeSearchPath), {std::string("text")}}};
        } else if (world_.searchNode == SearchNode::tellsThePath) {
            search.details = searchPathDetails(world_.searchPath);
        }
    }

    void openNode(const std::string& node) {
        NodeScript& script = accounts_.nodes[node];
        for (const auto& [name, pair] : world_.accepted) {
            if (name == node) {
                script.accepted.push_back(pair);
            }
        }
    }

    void open() {
        if (world_.arguments) {
            controller_->viewDidLoad();
        } else {
            controller_->updateTimerInfoLabel();
        }
    }

    void happen(const Event& event) {
        switch (event.kind) {
            case Event::Kind::typeUser:
                controls_.userNameTextField.value = event.text;
                break;
            case Event::Kind::typePassword:
                controls_.passwordTextFiled.value = event.text;
                break;
            case Event::Kind::endEditing:
                endEditing();
                break;
            case Event::Kind::changeUser:
                controller_->changeUserName();
                break;
            case Event::Kind::clickUpdateNow:
                controller_->updateNow();
                break;
            case Event::Kind::clickPostpone:
                controller_->postponeDeployment();
                break;
            case Event::Kind::waitSeconds:
                for (int count = 0; count < event.number; ++count) {
                    clock_.moment += std::chrono::seconds(1);
                    runLoop_.advance(std::chrono::seconds(1));
                }
                break;
            case Event::Kind::finishPicture:
                runLoop_.drain();
                break;
            case Event::Kind::terminate:
                delegate_.applicationWillTerminate();
                break;
            case Event::Kind::tokenPrints:
                child_.outputForUser.clear();
                child_.otherwise = event.text;
                break;
            case Event::Kind::nodeAccepts:
                accept(event.text);
                break;
            case Event::Kind::nodeOpens:
                world_.nodes.insert(event.text);
                if (!accounts_.nodes.contains(event.text)) {
                    openNode(event.text);
                }
                break;
            case Event::Kind::nodeCloses:
                world_.nodes.erase(event.text);
                accounts_.nodes.erase(event.text);
                break;
            case Event::Kind::directoryStops:
                accounts_.hasSession = false;
                break;
            case Event::Kind::searchNodeChanges:
                world_.searchNode = static_cast<SearchNode>(event.number);
                arrangeSearchNode();
                break;
        }
    }

    void endEditing() {
        if (controls_.userNameTextField.editingEnded) {
            controls_.userNameTextField.editingEnded();
        } else {
            controller_->controlTextDidEndEditing();
        }
    }

    void accept(const std::string& node) {
        const std::pair pair(controls_.userNameTextField.value, controls_.passwordTextFiled.value);
        world_.accepted.insert({node, pair});
        if (accounts_.nodes.contains(node)) {
            accounts_.nodes[node].accepted.push_back(pair);
        }
    }

    /// What the services were told.
    void tellRecords() {
        seen_.log = log_.lines();
        for (std::string& line : seen_.log) {
            for (const std::string& place : {folder() + "missing/" + logName, folder() + logName}) {
                if (line.ends_with(" at " + place)) {
                    line.replace(line.size() - place.size(), place.size(), logName);
                }
            }
        }
        for (const auto& [path, entry] : agent().entries) {
            seen_.accessLog += path == globals_.accessLogPath ? entry : "elsewhere: " + entry;
        }
        seen_.requests = agent().requests;
        seen_.activityEnded = activity_.ended;
        const std::vector<std::string> tool{"/usr/bin/env", "/the/token", "-secureTokenStatus"};
        for (const auto& run : child_.runs) {
            const bool isTool = std::vector(run.begin(), run.end() - 1) == tool;
            seen_.tokenChecks.push_back(isTool ? run.back() : "another command");
        }
        seen_.passwordChecks = accounts_.checks;
        seen_.attentionCalls = application_.attentionRequests;
    }

    /// What stands in the window and in the controller.
    void tellState() {
        seen_.secondsLeft = controller_->remainingTimeInSecond();
        seen_.userWithoutToken = controller_->lastSecureTokenDisabledUser();
        seen_.countdown = controls_.timerInfoLabel.stringValue();
        seen_.spokenCountdown = controls_.timerInfoLabel.spoken;
        seen_.updateText = controls_.updateDescription.stringValue();
        seen_.attempts = controls_.postponeAttemptsRemainingLabel.stringValue();
        seen_.attemptsHidden = controls_.postponeAttemptsRemainingLabel.hidden;
        seen_.postponeHidden = controls_.postponeButton.hidden;
        seen_.panelHidden = controls_.credentailsRequiredView.hidden;
        seen_.userRowHidden = controls_.userStackView.hidden;
        seen_.userFieldHidden = controls_.userNameTextField.hidden;
        seen_.noticeHidden = controls_.unsupportedInfoStackView.hidden;
        seen_.passwordBelowNotice = controls_.passwordToUnspportedInfoConstraint.priority == 750 &&
                                    controls_.passwordToUserNameConstraint.priority == 250;
        if (controls_.timerViewToOSInfoBottom.priority) {
            seen_.countdownBelowPanel = controls_.timerViewToCredentailsBottom.priority == 750 &&
                                        controls_.timerViewToOSInfoBottom.priority == 250;
        }
        seen_.userLabel = controls_.userNameLabel.stringValue();
        seen_.user = controls_.userNameTextField.value;
        seen_.password = controls_.passwordTextFiled.value;
        seen_.hasPicture = controls_.userIcon.image != nullptr;
        seen_.shakes = controls_.passwordTextFiled.plainLayer.animations.size();
    }

    World world_;
    RecordingLog log_;
    ManualRunLoop runLoop_;
    FakeScreens screens_;
    ScriptedPropertyLists propertyLists_;
    FakeImageReader images_;
    FakeSegmenter segmenter_;
    FakeProcessInfo processInfo_;
    ThrowingExit exit_;
    FixedClock clock_;
    ScriptedChildProcess child_;
    FakeConsoleUsers consoleUsers_;
    FakeDirectory accounts_;
    FakeApplication application_;
    PlainControls controls_;
    Globals globals_;
    RecordingActivity activity_;
    AppDelegate delegate_{application_, activity_};
    std::unique_ptr<ViewController> controller_;
    Outcome seen_;
};

}  // namespace

Outcome drivenOutcome(const Sequence& sequence) {
    return DrivenPrompt(sequence.world).outcomeOf(sequence.events);
}

}  // namespace velunor::testing
