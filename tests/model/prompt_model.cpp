#include "tests/model/prompt_model.h"

#include <algorithm>
#include <string_view>

#include "tests/model/expected_texts.h"

namespace velunor::testing {
namespace {

using Answer = std::pair<std::string, std::vector<std::pair<std::string, std::string>>>;

class Model {
  public:
    explicit Model(const Sequence& sequence) : world_(sequence.world) {
        open();
        for (const Event& event : sequence.events) {
            if (over_) {
                break;
            }
            happen(event);
        }
        // What is still sought is found when nothing shows it any more.
        static_cast<void>(pictureFound());
    }
    [[nodiscard]] const Outcome& outcome() const { return is_; }

  private:
    enum class Token { enabled, unknown, disabled };

    static constexpr std::int64_t openedAt = 1714651391;
    static constexpr std::int64_t zone = 12600;

    void log(const std::string& line) { is_.log.push_back(line); }

    void open() {
        if (!world_.arguments) {
            startCounting();
            return;
        }
        const auto& arguments = *world_.arguments;
        std::vector<std::string> all{"/opt/prompt"};
        all.insert(all.end(), arguments.begin(), arguments.end());
        log("Opened Application " + listed(all));
        if (all.size() < 5) {
            log("Args are less");
            end(1);
            return;
        }
        hasInput_ = true;
        needsPassword_ = arguments[0] == "OSUpdateWithCred";
        proceeds_ = arguments[2] != "false";
        const std::int64_t minutes = number(arguments[3]).value_or(15);
        const std::int64_t attempts = number(arguments[5]).value_or(-1);
        switch (world_.logFile) {
            case LogFile::present:
                log("Log file already exists at rebootaccess.log");
                break;
            case LogFile::absent:
                log("Log file created at rebootaccess.log");
                log("Permissions set to 0666");
                break;
            case LogFile::impossible:
                log("Failed to create log file at rebootaccess.log");
                break;
        }
        is_.accessLog += "\n" + calendar(openedAt + zone) + "\t\tOSUpdate\t\tcarol\t\t" +
                         (needsPassword_ ? "With" : "Without") + " Credentials - " +
                         (proceeds_ ? "true" : "false") + " - " + arguments[1] + " - " +
                         std::to_string(minutes) + " mins";
        for (const char* caption :
             {"Title : Title text", "Message : Message text", "Credentails Info : Credentials text",
              "Unspported Credentails Info : Not sufficient", "Postpone Button : Postpone caption",
              "Update Now Button : Update caption", "Username Change Button : Change user",
              "Product Name : Ostrel Agent"}) {
            log(caption);
        }
        is_.secondsLeft = minutes * 60;
        showPanel();
        fillInUser();
        is_.updateText = "\u2022  " + arguments[1];
        is_.attemptsHidden = attempts < 1;
        if (attempts >= 1) {
            is_.attempts = std::to_string(attempts) + " tries left";
            log("Remaining Postpone Count: " + std::to_string(attempts));
        }
        is_.postponeHidden = arguments[4] != "false";
        startCounting();
        log("No rebrand file found");
        log("AutoRebootMessages File not available");
    }

    void showPanel() {
        is_.panelHidden = !needsPassword_;
        is_.countdownBelowPanel = needsPassword_;
        log(needsPassword_ ? "Showing Timer Below Credentails"
                           : "Unshowing Timer Below Credentails");
        log(needsPassword_ ? "Unshowing Timer Below OS Info" : "Showing Timer Below OS Info");
    }

    void fillInUser() {
        if (world_.consoleUser == ConsoleUser::named) {
            is_.userLabel = is_.user = consoleUserName;
            pictureIsSought_ = true;
            checkTokenOfUser();
            return;
        }
        log(world_.consoleUser == ConsoleUser::nobody    ? "No Console User at the moment"
            : world_.consoleUser == ConsoleUser::unknown ? "Dint get Pw for 1000"
                                                         : "UID 1000");
        changeUser();
    }

    void changeUser() {
        is_.userRowHidden = true;
        is_.userFieldHidden = false;
    }

    [[nodiscard]] static std::optional<std::int64_t> number(const std::string& text) {
        static const std::map<std::string, std::int64_t> numbers{
            {"0", 0}, {"1", 1}, {"2", 2}, {"+3", 3}, {"-1", -1}, {"15", 15}, {"007", 7}};
        const auto found = numbers.find(text);
        return found == numbers.end() ? std::nullopt : std::optional(found->second);
    }

    void showTimeLeft() {
        is_.countdown = std::to_string(is_.secondsLeft / 60);
        // Without any input there is no template either, and of the values only the first is shown.
        if (hasInput_) {
            is_.countdown = (proceeds_ ? "Install in " : "Postpone in ") + is_.countdown + ":" +
                            std::to_string(is_.secondsLeft % 60) + ".";
        }
        for (const std::int64_t moment : {600, 300, 120, 60, 30, 10}) {
            if (is_.secondsLeft == moment) {
                is_.spokenCountdown.push_back(is_.countdown);
            }
        }
    }

    void startCounting() {
        showTimeLeft();
        log("Starting with " + is_.countdown);
    }

    void second() {
        ++now_;
        --is_.secondsLeft;
        if (is_.secondsLeft < 1) {
            timeIsOver();
            return;
        }
        showTimeLeft();
        constexpr std::int64_t attentionAfter = 5;
        if (now_ == attentionAfter && hasInput_) {
            ++is_.attentionCalls;
            log("Dock bounce (critical) triggered at " + calendar(openedAt + now_) + " +0000");
        }
    }

    void timeIsOver() {
        log("Timer Fired");
        if (!hasInput_) {
            log("Unable to get Prompt Data");
            postpone("Time ran out - Postponing due to Issue");
        } else if (proceeds_ && !needsPassword_) {
            log("Sending Data to as proceed with no credentials");
            answer({"proceed", {}}, "proceed - NA", "Time ran out - Proceeding");
        } else {
            log("Sending Data to as postpone with disabled user " +
                is_.userWithoutToken.value_or("--"));
            postpone("Time ran out - Postponing");
        }
    }

    void postpone(const std::string& reason) {
        Answer postponement{"postponse", {}};
        if (is_.userWithoutToken) {
            postponement.second = {{"userName", *is_.userWithoutToken}};
        }
        answer(postponement, "postpone - " + is_.userWithoutToken.value_or("NA"), reason);
    }

    void clickUpdateNow() {
        log("Update Now Clicked");
        if (!needsPassword_) {
            log("Updating Now without Credentials");
            answer({"proceed", {}}, "proceed - NA", "Update Now Clicked");
            return;
        }
        if (checkTokenOfUser() == Token::disabled) {
            log("Secure Token not enabled for " + is_.user);
            return;
        }
        if (accepts("/Local/Default")) {
            log("Local Validation Success");
        } else if (anyOtherNodeAccepts()) {
            log("Domain Validation Success");
        } else {
            ++is_.shakes;
            log("Failed to validate credentials " + is_.user);
            return;
        }
        log("Updating Now with Credentials " + is_.user);
        const std::string password = std::exchange(is_.password, "");
        answer({"proceed", {{"userName", is_.user}, {"passwd", password}}}, "proceed - " + is_.user,
               "Update Now Clicked");
    }

    Token checkTokenOfUser() {
        is_.tokenChecks.push_back(is_.user);
        log("Command To Be Executed " + listed({"/the/token", "-secureTokenStatus", is_.user}));
        const auto own = world_.tokenOutput.find(is_.user);
        const std::string& output =
            own == world_.tokenOutput.end() ? world_.otherTokenOutput : own->second;
        log("Output " + output);
        const auto says = [&](const char* part) { return output.find(part) != std::string::npos; };
        const Token token = says("ENABLED")        ? Token::enabled
                            : says("Unknown user") ? Token::unknown
                                                   : Token::disabled;
        const bool refused = token == Token::disabled;
        is_.userWithoutToken = refused ? std::optional(is_.user) : std::nullopt;
        is_.noticeHidden = !refused;
        is_.passwordBelowNotice = refused;
        return token;
    }

    bool accepts(const std::string& node) {
        log("Validating " + node + " Username " + is_.user);
        if (!world_.hasDirectorySession) {
            log("Couln't Get Default Sessions");
            return false;
        }
        if (!world_.nodes.contains(node)) {
            log("Node Error Error Domain=test.directory Code=2000 \"No such node\"");
            return false;
        }
        is_.passwordChecks.push_back(node + " " + is_.user + ":" + is_.password);
        const bool right = world_.accepted.contains({node, {is_.user, is_.password}});
        log(right ? "Password validated Successfully"
                  : "Credentails Error Error Domain=test.directory Code=5000 "
                    "\"Wrong user or password\"");
        return right;
    }

    bool anyOtherNodeAccepts() {
        if (!world_.hasDirectorySession) {
            log("Couln't Get Default Session");
            return false;
        }
        switch (world_.searchNode) {
            case SearchNode::doesNotOpen:
            case SearchNode::tellsNothing:
                log("ODNode Node Creatation Failed For Search");
                return false;
            case SearchNode::lacksThePath:
            case SearchNode::hasNoTexts:
                log("Node Details Cannnot Converted to ArOfStr");
                return false;
            case SearchNode::tellsThePath:
                break;
        }
        log("Node Details " + listed(world_.searchPath));
        return std::ranges::any_of(world_.searchPath, [&](const std::string& node) {
            return node != "/Local/Default" && accepts(node);
        });
    }

    void answer(const Answer& given, const std::string& text, const std::string& reason) {
        is_.accessLog +=
            "\t\t" + text + "\t\t" + reason + "\t\t" + calendar(openedAt + zone + now_);
        std::string members;
        for (const auto& [key, value] : given.second) {
            if (value.find('\xff') != std::string::npos) {
                log("Error encoding data: The text of \"" + key + "\" is not valid UTF-8.");
                end(0);
                return;
            }
            members += (members.empty() ? "" : ",") + json(key) + ":" + json(value);
        }
        if (world_.service != ServiceBehaviour::absent) {
            is_.requests.emplace_back("PatchOSUpdateNotificationStatus",
                                      "{\"" + given.first + "\":{" + members + "}}");
        }
        if (world_.service == ServiceBehaviour::replies) {
            log("Reply Received OK");
        }
        end(0);
    }

    void end(int status) {
        is_.exitStatus = status;
        over_ = true;
    }

    /// Whether the search for the account's picture ends now, with one.
    bool pictureFound() {
        if (!std::exchange(pictureIsSought_, false)) {
            return false;
        }
        if (!world_.hasDirectorySession) {
            log("Error: Error Domain=Directory Code=0 \"No directory session\"");
        } else if (world_.picture == Picture::fails) {
            log("Error: Error Domain=test.directory Code=2000 \"No such node\"");
        }
        return world_.hasDirectorySession && world_.picture == Picture::found;
    }

    void happen(const Event& event) {
        switch (event.kind) {
            case Event::Kind::typeUser:
                is_.user = event.text;
                break;
            case Event::Kind::typePassword:
                is_.password = event.text;
                break;
            case Event::Kind::endEditing:
                checkTokenOfUser();
                break;
            case Event::Kind::changeUser:
                changeUser();
                break;
            case Event::Kind::clickUpdateNow:
                clickUpdateNow();
                break;
            case Event::Kind::clickPostpone:
                log("User Clicked Postpone now - Disabled user " +
                    is_.userWithoutToken.value_or("--"));
                postpone("Postpone Clicked");
                break;
            case Event::Kind::waitSeconds:
                for (int count = 0; count < event.number && !over_; ++count) {
                    second();
                }
                break;
            case Event::Kind::finishPicture:
                is_.hasPicture = pictureFound() || is_.hasPicture;
                break;
            case Event::Kind::terminate:
                is_.activityEnded = true;
                over_ = true;
                break;
            case Event::Kind::tokenPrints:
                world_.tokenOutput.clear();
                world_.otherTokenOutput = event.text;
                break;
            case Event::Kind::nodeAccepts:
                world_.accepted.insert({event.text, {is_.user, is_.password}});
                break;
            case Event::Kind::nodeOpens:
                world_.nodes.insert(event.text);
                break;
            case Event::Kind::nodeCloses:
                world_.nodes.erase(event.text);
                break;
            case Event::Kind::directoryStops:
                world_.hasDirectorySession = false;
                break;
            case Event::Kind::searchNodeChanges:
                world_.searchNode = static_cast<SearchNode>(event.number);
                break;
        }
    }

    World world_;
    Outcome is_;
    bool over_ = false;
    bool hasInput_ = false;
    bool needsPassword_ = false;
    bool proceeds_ = false;
    bool pictureIsSought_ = false;
    std::int64_t now_ = 0;
};

}  // namespace

Outcome expectedOutcome(const Sequence& sequence) {
    return Model(sequence).outcome();
}

}  // namespace velunor::testing
