#pragma once

#include <memory>
#include <optional>
#include <string>

#include "tests/e2e/credentials/credentials_test.h"
#include "tests/e2e/faults/aftermath.h"
#include "tests/e2e/faults/bus_capture.h"

namespace velunor::testing {

/// The agent service of a test as a process of its own, which a fault can hit.
class ServiceProcess {
  public:
    /// Owns the service's name when the constructor returns. `mode` as agent_fake_service takes
    /// it. Throws on failure.
    ServiceProcess(const std::filesystem::path& directory, const std::string& address,
                   const std::string& mode);

    /// The messages that it received so far.
    [[nodiscard]] std::vector<std::string> messages() const;

    void sendSignal(int signal) const { process_->sendSignal(signal); }
    /// Ends it without any farewell; it is gone on return.
    void kill() { process_.reset(); }

  private:
    std::filesystem::path output_;
    std::unique_ptr<ChildProcess> process_;
};

/// A prompt that meets a fault, and what has to be so afterwards whatever the fault was.
class FaultTest : public CredentialsTest {
  protected:
    /// How long a prompt waits for the service's reply.
    static constexpr std::chrono::seconds replyLimit{10};

    /// Starts the service as a process.
    ServiceProcess& startServiceProcess(const std::string& mode);
    [[nodiscard]] ServiceProcess& serviceProcess() { return *serviceProcess_; }

    /// Makes the desktop, notes what is there and hears its buses from now on.
    void noteBefore();
    /// Types the user's password into the prompt's field, which tells assistive programs how much
    /// it holds and no more.
    void enterPassword();
    /// Starts a prompt that asks for credentials and enters the user's password.
    void startWithPassword();
    /// Clicks Update Now until the prompt has taken it: right after a refusal a click counts for
    /// the same attempt.
    void clickUpdateNow();
    /// Clicks Update Now and waits until the service has the answer.
    void answerUntilTheServiceHasIt();

    /// The seconds that are left as the window shows them; -1 where it shows none.
    [[nodiscard]] int secondsShown();

    /// The prompt ends so, with every entry of its log whole and nothing left behind: no process,
    /// no file, and the password nowhere but in the one message to the service.
    void expectEnd(Ending ending);
    /// What holds at any time: whole entries, no zombie of the prompt's.
    void expectSound();
    /// The service has got the user's password, once, and the access log tells so.
    void expectOneAnswer();

    /// The message that proceeds with the user's password.
    [[nodiscard]] std::string proceeding() const;
    [[nodiscard]] AccessLogEntries accessLog() const;

  private:
    void expectNobodyIsTold();
    void expectBusesCarryTheMessageAlone();

    std::unique_ptr<ServiceProcess> serviceProcess_;
    std::optional<Aftermath> aftermath_;
    std::optional<BusCapture> sessionBus_;
    std::optional<BusCapture> accessibilityBus_;
};

}  // namespace velunor::testing
