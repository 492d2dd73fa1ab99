#include "tests/unit/credentials/panel_fixture.h"

namespace velunor::testing {

PanelFixture::PanelFixture() {
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

PanelFixture::~PanelFixture() = default;

std::unique_ptr<CredentialsPanel> PanelFixture::makePanel(RunLoop& runLoop,
                                                          const ImageReader& reader) {
    return std::make_unique<CredentialsPanel>(
        outlets, constraints,
        CredentialsPanelServices{log, runLoop, reader, childProcess, consoleUsers, directory,
                                 "/tool"});
}

void PanelFixture::logIn(const std::string& name, std::optional<Size> pictureSize) {
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

}  // namespace velunor::testing
