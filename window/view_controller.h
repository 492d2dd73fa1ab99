#pragma once

#include <chrono>
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "agent/globals.h"
#include "credentials/credentials_panel.h"
#include "credentials/secure_token_status.h"
#include "platform/application.h"
#include "platform/directory_service.h"
#include "platform/graphics.h"
#include "platform/property_list.h"
#include "platform/system.h"
#include "platform/text.h"
#include "prompt/access_log.h"
#include "prompt/delivery.h"
#include "prompt/os_update_input.h"
#include "prompt/os_update_notification_response.h"
#include "window/prompt_view.h"

namespace velunor {

/// The platform parts that the controller works with, owned by the entry point.
struct PromptServices {
    SystemLog& log;
    RunLoop& runLoop;
    const Screens& screens;
    const PropertyListReader& propertyLists;
    const ImageReader& images;
    const TextSegmenter& segmenter;
    const ProcessInfo& processInfo;
    ProcessExit& processExit;
    const Clock& clock;
    ChildProcess& childProcess;
    ConsoleUsers& consoleUsers;
    DirectoryService& directory;
    /// The program that tells whether an account holds a secure token.
    std::string secureTokenTool;
    WeakReference<Application> application;
    /// How long an answer waits for the agent service's reply.
    std::chrono::milliseconds replyLimit = replyDeadline;
};

/// The rebrand file's record.
struct Rebrand {
    /// The installation counts as rebranded only when this is exactly "TRUE".
    std::optional<std::string> isRebranded;
    /// Display name to show instead of the agent's product name.
    std::optional<std::string> productName;
};

/// Controls the application's only window, from its set-up to the answer that ends the process.
/// Everything here runs on the main thread. Using an unconnected outlet ends the process.
class ViewController {
  public:
    /// `arguments` is the process's command line, the program's path first. `globals` must outlive
    /// the controller.
    ViewController(std::vector<std::string> arguments, const Globals& globals,
                   PromptServices services, PromptView view);
    ViewController(const ViewController&) = delete;
    ViewController& operator=(const ViewController&) = delete;
    ~ViewController() = default;

    /// The whole set-up of the window, once the controls are connected. Starts the countdown.
    void viewDidLoad();

    /// Places the window each time it appears.
    void viewDidAppear();

    /// Puts the window 30 points from the right and the bottom of the main screen's usable area;
    /// without a window or a screen nothing happens.
    void moveWindowToBottomRight();

    /// Reads the command line; may end the process with status 1.
    [[nodiscard]] OSUpdateInput getOSUpdatePromptData();

    /// Fills the window from the input and starts the countdown.
    void setInitialData(const OSUpdateInput& data);

    /// Gives the gear its round dark disc.
    void setUpdateGear();

    /// Shakes a field sideways; one without a layer is left alone.
    static void shake(View& field);

    /// Shows the time left and starts the once-a-second countdown.
    void updateTimerInfoLabel();

    /// Answers on the user's behalf when time has run out. Ends the process.
    void timerFired();

    /// Action of the Update Now button: answers, or keeps the prompt when a check says no.
    void updateNow();

    /// Action of the Postpone button. Ends the process.
    void postponeDeployment();

    /// Action of the link that lets the user type another user name.
    void changeUserName();

    /// Editing of a field has ended: checks the user name's secure token again.
    void controlTextDidEndEditing();

    void showCredentailsView(bool status);
    void showUnspportedCredentailsAlert(bool status);
    void setInitialUserData();

    /// Asks the system tool about the account's secure token. Blocks until the tool exits.
    [[nodiscard]] SecureTokenStatus secureTokenStatus(std::string_view forUser);

    /// Replaces the window's seven fixed captions by the localised texts; all must be there.
    void setLocalizationText();

    /// Replaces title and message by the administrator's texts where there are any.
    void setCustomizedText();

    /// Styled text of a template: its pieces between the placeholders "%s" as plain runs, and after
    /// each piece the next value, bold and in the standard text colour. Values beyond the number of
    /// pieces are dropped; the styling covers as many UTF-16 units as the value has characters.
    [[nodiscard]] AttributedString buildAttributedUpdateString(
        std::string_view templateText, std::span<const std::string> values) const;

    /// The rebrand file's record, none when there is no file or it cannot be read.
    [[nodiscard]] std::optional<Rebrand> getRebrandDetails();

    /// Shows another product name and logo where the installation is rebranded.
    void processRebranding();

    void printStartingAccessLog(const OSUpdateInput& input);
    void printEndingAccessLog(const OSUpdateNotificationResponse& response,
                              std::string_view reason);

    /// Hands the answer to the agent service. Blocks until it replies, 10 seconds at most.
    void sendDataToService(OSUpdateNotificationResponse status);

    [[nodiscard]] std::int64_t remainingTimeInSecond() const { return remainingTimeInSecond_; }
    [[nodiscard]] const std::optional<OSUpdateInput>& promptData() const { return promptData_; }
    [[nodiscard]] const std::optional<std::string>& lastSecureTokenDisabledUser() const {
        return credentialsPanel_.lastSecureTokenDisabledUser();
    }
    [[nodiscard]] const std::string& timerInfoMessage() const { return timerInfoMessage_; }

  private:
    [[nodiscard]] Outlets& outlets() { return view_.outlets; }
    [[nodiscard]] std::string localizedText(std::string_view key) const;
    void showPostponeCount(std::int64_t remainingPostponeCount);
    void showRemainingTime();
    void tick(Timer& timer);
    void bounceDock();
    /// The proceed answer of a prompt with credentials, none when a check refuses them.
    [[nodiscard]] std::optional<Proceed> checkedCredentials();
    void applyRebrandedLogo();
    void finish(OSUpdateNotificationResponse response, std::string_view reason);

    std::vector<std::string> arguments_;
    const Globals& globals_;
    PromptServices services_;
    PromptView view_;
    AccessLog accessLog_;
    CredentialsPanel credentialsPanel_;
    std::int64_t remainingTimeInSecond_ = 900;
    std::optional<OSUpdateInput> promptData_;
    std::string timerInfoMessage_;
};

}  // namespace velunor
