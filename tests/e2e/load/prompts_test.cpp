// Many prompts of several users at once, with one access log, one agent service and one credential
// checker between them.

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <thread>
#include <vector>

#include "tests/e2e/credentials/credentials_test.h"
#include "tests/e2e/faults/aftermath.h"

namespace velunor::testing {
namespace {

constexpr std::size_t userCount = 5;
/// As many of the console user's prompts at once as there are hands, each for a part of them.
constexpr std::size_t hands = 6;

std::size_t promptCount() {
    constexpr std::size_t usual = 60;
    const char* wanted = std::getenv("VELUNOR_LOAD_PROMPTS");
    return wanted == nullptr ? usual : std::strtoul(wanted, nullptr, 10);
}

/// What becomes of a prompt. Its time runs out for a user who is away.
enum class Deed { rightPassword, timeOut, wrongPassword };

struct Prompt {
    std::unique_ptr<ChildProcess> process;
    std::filesystem::path log;
    Deed deed;
};

class Load : public CredentialsTest {
  protected:
    Load() {
        startCheckerService();
        startService();
        openToAll();
        for (std::size_t number = 0; number < userCount; ++number) {
            users_.push_back(addAccount("user" + std::to_string(number), newPassword()));
        }
    }

    void start(std::size_t count) {
        constexpr std::size_t deeds = 3;
        for (std::size_t number = 0; number < count; ++number) {
            const auto deed = static_cast<Deed>(number % deeds);
            if (deed == Deed::timeOut) {
                const AsRoot root;
                const Account& other = users_[number % userCount];
                const ActingAs away(other);
                prompts_.push_back(newPrompt(deed, other, number));
            } else {
                prompts_.push_back(newPrompt(deed, user, number));
            }
        }
    }

    /// Deals with the prompts of the console user, several at a time.
    void answerAll() {
        std::vector<std::jthread> threads;
        for (std::size_t hand = 0; hand < hands; ++hand) {
            threads.emplace_back([this, hand] {
                const AccessibilityReader one(bus().accessibilityAddress());
                for (std::size_t number = hand; number < prompts_.size(); number += hands) {
                    if (prompts_[number].deed != Deed::timeOut && !HasFatalFailure()) {
                        answer(one, prompts_[number]);
                    }
                }
            });
        }
    }

    [[nodiscard]] std::vector<Prompt>& prompts() { return prompts_; }
    [[nodiscard]] std::string proceeding() const {
        return R"({"proceed":{"userName":"ada","passwd":")" + password + R"("}})";
    }

  private:
    /// Every user may write to the logs and show something on the display.
    void openToAll() {
        std::filesystem::permissions(directory(), std::filesystem::perms(0755));
        std::filesystem::permissions(accessLogPath().parent_path(), std::filesystem::perms(0777));
        ChildProcess open(
            {.arguments = {"xhost", "+local:"},
             .environment = {{"PATH", "/usr/bin:/bin"}, {"DISPLAY", display().name()}}});
        EXPECT_EQ(open.wait(), (Ending{0, 0}));
    }

    Prompt newPrompt(Deed deed, const Account& whose, std::size_t number) {
        Environment variables = environment();
        variables["HOME"] = whose.home;
        if (deed == Deed::timeOut) {
            variables.erase("XDG_RUNTIME_DIR");
            variables.erase("QT_LINUX_ACCESSIBILITY_ALWAYS_ON");
        }
        const std::filesystem::path log = whose.home + "/err" + std::to_string(number);
        const bool isAway = deed == Deed::timeOut;
        return {
            std::make_unique<ChildProcess>(Command{
                .arguments = {reachable(PROMPT_PROGRAM), isAway ? "OSUpdate" : "OSUpdateWithCred",
                              "Debian 12.9", "false", isAway ? "0" : "60", "false", "2"},
                .environment = variables,
                .output = log,
                .errors = log}),
            log, deed};
    }

    /// The control of the prompt, waited for.
    static std::optional<Accessible> controlOf(const AccessibilityReader& one, const Prompt& prompt,
                                               const std::string& role, const std::string& name) {
        std::optional<Accessible> found;
        static_cast<void>(eventually([&] {
            found = findControl(one.controlsOf(prompt.process->id()), role, name);
            return found.has_value();
        }));
        return found;
    }

    void answer(const AccessibilityReader& one, const Prompt& prompt) {
        const auto field = controlOf(one, prompt, "text", "Password");
        const auto button = controlOf(one, prompt, "push button", "Go ahead");
        const auto later = controlOf(one, prompt, "push button", "Later");
        ASSERT_TRUE(field && button && later) << readFile(prompt.log);
        const bool isRight = prompt.deed == Deed::rightPassword;
        EXPECT_TRUE(one.fill(*field, isRight ? password : "wrong" + password));
        // A prompt may be gone before it tells that it was pressed.
        static_cast<void>(one.act(*button, "Press"));
        if (!isRight) {
            EXPECT_TRUE(eventually([&] {
                return readFile(prompt.log).find("Failed to validate credentials ada\n") !=
                       std::string::npos;
            })) << readFile(prompt.log);
            static_cast<void>(one.act(*later, "Press"));
        }
    }

    std::vector<Account> users_;
    std::vector<Prompt> prompts_;
};

TEST_F(Load, EveryAnswerOfManyPromptsArrivesOnceAndWhole) {
    const std::size_t count = promptCount();
    start(count);
    answerAll();
    std::size_t right = 0;
    for (Prompt& prompt : prompts()) {
        EXPECT_EQ(prompt.process->wait(2 * patience), (Ending{0, 0})) << readFile(prompt.log);
        right += prompt.deed == Deed::rightPassword ? 1 : 0;
    }
    const std::vector<Request> received = requests();
    const auto times = [&](const std::string& message) {
        return static_cast<std::size_t>(std::ranges::count_if(
            received, [&](const Request& request) { return request.message == message; }));
    };
    EXPECT_EQ(received.size(), count);
    EXPECT_EQ(times(proceeding()), right);
    EXPECT_EQ(times(R"({"postponse":{}})"), count - right);
    const AccessLogEntries entries = entriesOf(readFile(accessLogPath()));
    EXPECT_EQ(entries.torn, "");
    EXPECT_EQ(entries.starts, count);
    EXPECT_EQ(entries.ends, count);
    EXPECT_EQ(entries.proceeds, right);
}

}  // namespace
}  // namespace velunor::testing
