#pragma once

#include <gmock/gmock.h>

#include <atomic>
#include <optional>

#include "agent/ltarnutils.h"
#include "tests/linux/agent/agent_files.h"
#include "tools/ostrel_agent/command_line.h"

namespace velunor::testing {

inline constexpr const char* statusKey = "PatchOSUpdateNotificationStatus";

/// How the launcher ends with this status.
inline Ending exited(AgentExit status) {
    return {static_cast<int>(status), 0};
}

/// What the launcher says where another program has the service's name.
inline constexpr const char* nameIsTaken =
    "ostrel-agent: the name com.velunor.OstrelAgent cannot be had: File exists\n";

/// The local agent service and launcher, as a process on a bus of the test's own.
class AgentLauncher : public AgentFiles {
  protected:
    void startBus() { bus_.emplace(directory()); }
    PrivateBus& bus() { return *bus_; }

    /// Gives the launcher a variable other than the usual ones.
    void setVariable(const std::string& name, const std::string& value) {
        variables_[name] = value;
    }

    ChildProcess& start(std::vector<std::string> arguments) {
        arguments.insert(arguments.begin(), LAUNCHER_PROGRAM);
        return startCommand(std::move(arguments));
    }

    /// Starts a program that becomes the launcher.
    ChildProcess& startCommand(std::vector<std::string> command) {
        launcher_.emplace(Command{.arguments = std::move(command),
                                  .environment = variables_,
                                  .output = directory() / "out",
                                  .errors = directory() / "err"});
        return *launcher_;
    }

    /// Starts the launcher with a fake prompt in `mode` that sends `body`.
    ChildProcess& startPrompt(const std::string& mode, const std::string& body,
                              const std::vector<std::string>& options = {}) {
        std::vector<std::string> arguments{"prompt", "--program", FAKE_PROMPT_PROGRAM};
        arguments.insert(arguments.end(), options.begin(), options.end());
        const std::vector<std::string> six{"--", mode, body, marker().string(), "", "", ""};
        arguments.insert(arguments.end(), six.begin(), six.end());
        return start(arguments);
    }

    /// Starts the service and waits until it has its name.
    ChildProcess& startService(const std::vector<std::string>& options) {
        std::vector<std::string> arguments{"serve"};
        arguments.insert(arguments.end(), options.begin(), options.end());
        ChildProcess& process = start(arguments);
        EXPECT_TRUE(eventually([this] { return errors().find("serving") != std::string::npos; }));
        return process;
    }

    /// Waits until a fake prompt that stays has started.
    [[nodiscard]] bool waitForPrompt() const {
        return eventually(
            [this] { return std::filesystem::exists(marker().string() + ".started"); });
    }

    [[nodiscard]] std::filesystem::path marker() const { return directory() / "marker"; }
    [[nodiscard]] std::string output() const { return readFile(directory() / "out"); }
    [[nodiscard]] std::string errors() const { return readFile(directory() / "err"); }

    /// The service's reply to a request of this process, or none.
    static std::optional<std::string> request(const std::string& key, const std::string& body) {
        struct Reply {
            std::atomic<bool> came = false;
            std::string text;
        };
        const auto reply = std::make_shared<Reply>();
        const auto service = AgentServiceConnection().getService();
        if (!service) {
            return std::nullopt;
        }
        service->replyDataBlockForKey(key, Secret(body), [reply](const std::string& text) {
            reply->text = text;
            reply->came = true;
        });
        if (!eventually([&] { return reply->came.load(); })) {
            return std::nullopt;
        }
        return reply->text;
    }

  private:
    Environment variables_ = environment();
    std::optional<PrivateBus> bus_;
    std::optional<ChildProcess> launcher_;
};

}  // namespace velunor::testing
