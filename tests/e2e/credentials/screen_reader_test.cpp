// What a person hears who uses the prompt with a real screen reader, word for word.
// To see a record anew after an intended change, read what a failing test prints.

#include "tests/support/desktop/screen_reader.h"

#include <unistd.h>

#include <cctype>
#include <filesystem>
#include <functional>
#include <optional>
#include <regex>
#include <sstream>

#include "tests/e2e/credentials/credentials_test.h"
#include "tests/support/prompt/transcript.h"

namespace velunor::testing {
namespace {

/// A thing that was done, and what was said upon it.
struct Step {
    std::string what;
    std::vector<std::string> said;
};

std::vector<Step> stepsOf(const std::string& record) {
    std::vector<Step> steps;
    std::istringstream lines(record);
    for (std::string line; std::getline(lines, line);) {
        if (line.starts_with("> ")) {
            steps.push_back({line.substr(2), {}});
        } else if (!steps.empty()) {
            steps.back().said.push_back(line);
        }
    }
    return steps;
}

/// When the whole window is read out decides which second its countdown shows.
std::string withoutTime(const std::string& text) {
    static const std::regex countdown(R"(Waits for \d+ min \d+ sec)");
    return text.starts_with("notification Waits for") || text.starts_with("Waits for")
               ? text
               : std::regex_replace(text, countdown, "Waits for M min S sec");
}

/// Whether no process of the machine but the test itself has anything to do just now.
bool everybodyWaits() {
    const std::filesystem::path own = "/proc/" + std::to_string(::getpid());
    for (const auto& process : std::filesystem::directory_iterator("/proc")) {
        if (process.path() == own || !std::isdigit(process.path().filename().native().front())) {
            continue;
        }
        std::error_code gone;
        for (const auto& thread :
             std::filesystem::directory_iterator(process.path() / "task", gone)) {
            // The state stands behind the name, which is in brackets and may hold any character.
            const std::string line = readFile(thread.path() / "stat");
            const std::size_t end = line.rfind(") ");
            if (end != std::string::npos && (line[end + 2] == 'R' || line[end + 2] == 'D')) {
                return false;
            }
        }
    }
    return true;
}

/// Waits until what was done has had all its consequences: a process that has got a message has
/// something to do from that moment on. The processes are not looked at all at once, so it is only
/// believed when it holds several times.
bool waitForRest() {
    constexpr int times = 5;
    int quiet = 0;
    return eventually([&] {
        quiet = everybodyWaits() ? quiet + 1 : 0;
        return quiet == times;
    });
}

class HeardByAScreenReader : public CredentialsTest {
  protected:
    /// Starts the screen reader at the side of a person who is at work in another window. What they
    /// hear from then on is compared with the approved record of this name.
    void listen(const std::string& name) {
        const WindowId other = display().screen().addWindow({100, 100, 300, 200});
        ASSERT_TRUE(eventually([&] { return display().screen().activeWindow() == other; }));
        bus();
        // The reader itself lets programs know that it is there.
        environment().erase("QT_LINUX_ACCESSIBILITY_ALWAYS_ON");
        reader_.emplace(environment(), directory());
        const std::string record = name + "_" + reader_->series();
        approved_ = goldenTranscript(record, reachable(GOLDEN_DIRECTORY));
        expected_ = stepsOf(approved_);
        ASSERT_FALSE(expected_.empty()) << "no record " << record;
        startService();
    }

    /// Does something and waits until as much was said as the approved record has for it.
    void hear(const std::string& what, const std::function<void()>& act) {
        const std::size_t before = reader_->said().size();
        act();
        fails_ = fails_ || steps_ == expected_.size() || expected_[steps_].what != what;
        if (fails_) {
            // Nobody knows how much comes; what does is for the record.
            static_cast<void>(eventually([] { return false; }, std::chrono::seconds(2)));
        } else {
            const std::size_t expected = before + expected_[steps_].said.size();
            fails_ = !eventually([&] { return reader_->said().size() >= expected; });
        }
        ASSERT_TRUE(waitForRest());
        ++steps_;
        record_ += "> " + what + "\n";
        for (std::size_t index = before; index < reader_->said().size(); ++index) {
            record_ += withoutTime(reader_->said()[index]) + "\n";
        }
        fails_ = fails_ || !approved_.starts_with(record_);
    }
    void hearKey(const std::string& key) {
        hear(key, [&] { display().screen().pressKey(key); });
    }
    void hearKeys(const std::string& keys) {
        for (const char key : keys) {
            hearKey(std::string(1, key));
        }
    }
    void hearAltTab() {
        hear("Alt+Tab", [this] {
            const std::optional<WindowId> prompt = display().screen().windowOf(process().id());
            ASSERT_TRUE(prompt);
            // A new window does not let itself be activated at once.
            ASSERT_TRUE(eventually([&] {
                display().screen().activate(*prompt);
                return display().screen().activeWindow() == *prompt;
            }));
        });
    }

    /// Whether every word was the approved one.
    void expectApproved() { EXPECT_EQ(record_, approved_); }

  private:
    std::string approved_;
    std::vector<Step> expected_;
    std::optional<ScreenReader> reader_;
    std::size_t steps_ = 0;
    std::string record_;
    bool fails_ = false;
};

TEST_F(HeardByAScreenReader, EachControl) {
    listen("screen_reader_controls");
    hear("the prompt opens", [this] { startPrompt(); });
    hearAltTab();
    hearKey("Tab");
    hearKeys("abc");
    hearKey("BackSpace");
    for (int stop = 0; stop < 4; ++stop) {
        hearKey("Tab");
    }
    hearKey("space");
    hearKeys("eve");
    hearKey("Tab");
    expectApproved();
}

TEST_F(HeardByAScreenReader, RefusalsAndTheNotice) {
    addAccount("bob", password);
    listen("screen_reader_refusals");
    hear("the prompt opens", [this] { startPrompt(); });
    hearAltTab();
    hearKey("Tab");
    hearKeys("no");
    hearKey("Return");
    for (int stop = 0; stop < 3; ++stop) {
        hearKey("Tab");
    }
    hearKey("space");
    for (int stop = 0; stop < 4; ++stop) {
        hearKey("Tab");
    }
    hearKey("space");
    hearKeys("bob");
    hearKey("Tab");
    expectApproved();
}

TEST_F(HeardByAScreenReader, CountdownToItsEnd) {
    listen("screen_reader_countdown");
    hear("the prompt opens and waits until its time is over", [this] {
        startPromptOf(QUICK_PROMPT_PROGRAM);
        ASSERT_EQ(process().wait(), (Ending{0, 0})) << systemLog();
    });
    expectApproved();
}

}  // namespace
}  // namespace velunor::testing
