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
  public:
    PanelFixture(const PanelFixture&) = delete;
    PanelFixture& operator=(const PanelFixture&) = delete;
    ~PanelFixture() override;

  protected:
    PanelFixture();

    [[nodiscard]] std::unique_ptr<CredentialsPanel> makePanel(RunLoop& runLoop,
                                                              const ImageReader& reader);

    /// Puts `name` at the console, with a picture of this size where one is given.
    void logIn(const std::string& name, std::optional<Size> pictureSize = std::nullopt);

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
