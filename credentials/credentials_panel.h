#pragma once

#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "credentials/secure_token_status.h"
#include "platform/application.h"
#include "platform/controls.h"
#include "platform/directory_service.h"
#include "platform/fatal_stop.h"
#include "platform/graphics.h"
#include "platform/system.h"

namespace velunor {

// `Credentails` and `Unspported` are interface names, kept on purpose.

/// The controls of the panel.
struct CredentialsPanelOutlets {
    WeakReference<View> credentailsRequiredView;
    WeakReference<StackView> userStackView;
    WeakReference<ImageView> userIcon;
    WeakReference<Label> userNameLabel;
    WeakReference<EditableField> userNameTextField;
    WeakReference<StackView> unsupportedInfoStackView;
    WeakReference<LayoutConstraint> passwordToUnspportedInfoConstraint;
    WeakReference<LayoutConstraint> passwordToUserNameConstraint;
};

/// The platform parts that the panel works with. All must outlive the picture work that the panel
/// queues in the background, and that may outlive the panel.
struct CredentialsPanelServices {
    SystemLog& log;
    RunLoop& runLoop;
    const ImageReader& images;
    ChildProcess& childProcess;
    ConsoleUsers& consoleUsers;
    DirectoryService& directory;
    std::string secureTokenTool;
};

/// The panel that shows which account authorises the update. Main thread only; using an
/// unconnected outlet ends the process.
class CredentialsPanel {
  public:
    /// `constraints` are those of the window's root view, in their order.
    CredentialsPanel(const CredentialsPanelOutlets& outlets,
                     std::vector<LayoutConstraint*> constraints, CredentialsPanelServices services);

    CredentialsPanel(const CredentialsPanel&) = delete;
    CredentialsPanel& operator=(const CredentialsPanel&) = delete;
    ~CredentialsPanel() = default;

    /// Shows or hides the panel and places the countdown below it or below the update's text.
    void showCredentailsView(bool status);

    /// Shows or hides the notice for an account without a secure token and places the password
    /// field below it or below the user name.
    void showUnspportedCredentailsAlert(bool status);

    /// Fills the panel for the console user: name, picture (in the background), secure token.
    void setInitialUserData();

    /// Lets the user type another name. There is no way back.
    void changeUserName();

    /// Checks the secure token of the name in the field. Blocks until the tool exits.
    void controlTextDidEndEditing();

    /// Asks about the account's secure token. Blocks until the tool exits.
    [[nodiscard]] SecureTokenStatus tokenStatus(std::string_view forUser);

    /// The user most recently found to have no secure token, none when the last check found
    /// anything else.
    [[nodiscard]] const std::optional<std::string>& lastSecureTokenDisabledUser() const {
        return lastSecureTokenDisabledUser_;
    }

    /// Shows the notice for `userName` and remembers the name; none hides and forgets.
    void setSecureTokenDisabledUser(std::optional<std::string> userName);

  private:
    /// Asks about `askedUser`; when the token is missing, `disabledUser` is remembered.
    void checkSecureToken(const std::string& askedUser, const std::string& disabledUser);
    void loadPicture(const std::string& userName);

    /// Owned here alone; the picture work holds them weakly and looks on the main thread.
    std::shared_ptr<const CredentialsPanelOutlets> outlets_;
    std::vector<LayoutConstraint*> constraints_;
    CredentialsPanelServices services_;
    std::optional<std::string> lastSecureTokenDisabledUser_;
};

}  // namespace velunor
