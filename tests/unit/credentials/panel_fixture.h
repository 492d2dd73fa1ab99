#pragma once

#include <gtest/gtest.h>

#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "credentials/credentials_panel.h"
#include "tests/support/doubles/fake_directory.h"
#include "tests/support/doubles/plain_controls.h"
#include "tests/support/doubles/recording_log.h"
#include "tests/unit/credentials/scripted_machine.h"

namespace velunor::testing {

/// A panel over plain controls in the state that the window's form gives them: the account row
/// with its default picture shown, field and notice hidden.
class PanelFixture : public ::testing::Test {
  protected:
    PanelFixture() {
        outlets.credentailsRequiredView.connect(&credentailsRequiredView);
        outlets.userStackView.connect(&userStackView);
        outlets.userIcon.connect(&userIcon);
        outlets.userNameLabel.connect(&userNameLabel);
        outlets.userNameTextField.connect(&userNameTextField);
        outlets.unsupportedInfoStackView.connect(&unsupportedInfoStackView);
        outlets.passwordToUnspportedInfoConstraint.connect(&passwordToUnspportedInfoConstraint);
        outlets.passwordToUserNameConstraint.connect(&passwordToUserNameConstraint);
        userNameTextField.hidden = true;
        unsupportedInfoStackView.hidden = true;
        userIcon.image = defaultPicture;
        images.clipped = roundedPicture;
    }

    [[nodiscard]] std::unique_ptr<CredentialsPanel> makePanel(RunLoop& runLoop,
                                                              const ImageReader& reader) {
        return std::make_unique<CredentialsPanel>(
            outlets, constraints,
            CredentialsPanelServices{log, runLoop, reader, childProcess, consoleUsers, directory,
                                     "/tool"});
    }

    /// Puts `name` at the console, with a picture of this size where one is given.
    void logIn(const std::string& name, std::optional<Size> pictureSize = std::nullopt) {
        consoleUsers.identifier = 1000;
        consoleUsers.entries = {{1000, {name}}};
        directory.localNodes.emplace();
        if (pictureSize) {
            accountPicture = imageOfSize(pictureSize->width, pictureSize->height);
            images.datas[bytesOf("photo")] = accountPicture;
            const std::vector<std::vector<std::byte>> photos{bytesOf("photo")};
            directory.localNodes->users =
                std::vector<RecordScript>{{{std::string(attributeJPEGPhoto), photos}}};
        }
    }

    testing::PlainView credentailsRequiredView;
    testing::PlainStackView userStackView;
    testing::PlainImageView userIcon;
    testing::PlainLabel userNameLabel;
    testing::PlainField userNameTextField;
    testing::PlainStackView unsupportedInfoStackView;
    testing::PlainConstraint passwordToUnspportedInfoConstraint;
    testing::PlainConstraint passwordToUserNameConstraint;
    CredentialsPanelOutlets outlets;
    std::vector<LayoutConstraint*> constraints;

    const ImagePointer defaultPicture = imageOfSize(48, 48);
    const ImagePointer roundedPicture = imageOfSize(48, 48);
    ImagePointer accountPicture;

    RecordingLog log;
    ScriptedImageReader images;
    ScriptedChildProcess childProcess;
    ScriptedConsoleUsers consoleUsers;
    FakeDirectory directory;
};

}  // namespace velunor::testing
