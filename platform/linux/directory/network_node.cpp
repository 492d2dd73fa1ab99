#include <array>
#include <utility>

#include "platform/linux/directory/credential_checker.h"
#include "platform/linux/directory/credential_checker_protocol.h"
#include "platform/linux/directory/directory_service.h"
#include "platform/text.h"

namespace velunor {
namespace {

namespace protocol = credential_checker_protocol;

/// What directory servers answer to a wrong name or password.
constexpr int invalidCredentials = 49;
/// What its library says of an operation that it lacks.
constexpr int notSupported = -12;

/// When `steps` of the node's are over in any case.
SteadyDeadline endOf(int steps, const DirectoryNodeSettings& settings) {
    return std::chrono::steady_clock::now() + steps * settings.timeout + protocol::spareTime;
}

/// Why these cannot be anybody's name and password, without asking the server.
std::optional<DirectoryError> inputError(const std::string& recordName, const Secret& password) {
    const auto refused = [](const std::string& reason) {
        return DirectoryError{"LDAP", invalidCredentials, reason + ": Invalid credentials"};
    };
    if (recordName.empty()) {
        return refused("There is no user name");
    }
    // A server answers a bind with a name and no password with success, as for anybody.
    if (password.empty()) {
        return refused("There is no password");
    }
    if (recordName.size() > protocol::longestUserName ||
        password.size() > protocol::longestDirectoryPassword) {
        return refused("User name or password is too long");
    }
    if (!isValidUtf8(recordName) || recordName.find('\0') != std::string::npos ||
        password.reveal().find('\0') != std::string_view::npos) {
        return refused("User name or password is not a text");
    }
    return std::nullopt;
}

using CheckerResult = DirectoryResult<std::unique_ptr<CheckerProcess>>;

/// A checker that is connected to the server.
CheckerResult readyChecker(const std::string& program, const DirectoryNodeSettings& settings) {
    const SteadyDeadline deadline = endOf(protocol::stepsToReady, settings);
    const std::array<std::string, 6> arguments{std::string(protocol::ldap),
                                               settings.uri,
                                               settings.userBase,
                                               settings.userFilter,
                                               settings.certificateAuthorities,
                                               std::to_string(settings.timeout.count())};
    CheckerResult started = CheckerProcess::start(program, arguments);
    if (started) {
        auto error = verdictIn((*started)->readLine(deadline), protocol::ready, Backend::ldap);
        if (error) {
            return *std::move(error);
        }
    }
    return started;
}

class NetworkNode final : public DirectoryNode {
  public:
    NetworkNode(std::string program, DirectoryNodeSettings settings,
                std::unique_ptr<CheckerProcess> checker)
        : program_(std::move(program)),
          settings_(std::move(settings)),
          checker_(std::move(checker)) {}

    std::optional<DirectoryError> setCredentials(const std::string& recordName,
                                                 const Secret& password) override {
        if (auto error = inputError(recordName, password)) {
            return error;
        }
        CheckerResult checker =
            checker_ == nullptr ? readyChecker(program_, settings_) : std::move(checker_);
        if (!checker) {
            return std::move(checker).error();
        }
        return verdictIn((*checker)->ask(credentialRequest(recordName, password),
                                         endOf(protocol::stepsToAnswer, settings_)),
                         protocol::accepted, Backend::ldap);
    }

    DirectoryResult<DirectoryRecords> usersNamed(const std::string& /*recordName*/,
                                                 std::size_t /*maximumResults*/) override {
        return DirectoryError{"LDAP", notSupported,
                              "Records of network accounts are not read: Not Supported"};
    }

  private:
    std::string program_;
    DirectoryNodeSettings settings_;
    /// Connected and not yet asked; a check is made by one that nobody has asked before.
    std::unique_ptr<CheckerProcess> checker_;
};

}  // namespace

DirectoryResult<DirectoryNodePointer> openNetworkNode(const std::string& program,
                                                      const DirectoryNodeSettings& settings) {
    CheckerResult checker = readyChecker(program, settings);
    if (!checker) {
        return std::move(checker).error();
    }
    return std::make_unique<NetworkNode>(program, settings, *std::move(checker));
}

}  // namespace velunor
