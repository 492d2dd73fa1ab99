#pragma once

#include <chrono>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "platform/application.h"
#include "platform/graphics.h"
#include "platform/property_list.h"
#include "platform/system.h"
#include "platform/text.h"

namespace velunor::testing {

/// A run loop whose time is moved by the test.
class ManualRunLoop : public RunLoop {
  public:
    struct Entry : Timer {
        void invalidate() override { active = false; }
        std::chrono::milliseconds interval{0};
        std::chrono::milliseconds due{0};
        bool repeats = false;
        bool active = true;
        std::function<void(Timer&)> block;
    };

    void scheduleTimer(std::chrono::milliseconds interval, TimerKind kind,
                       std::function<void(Timer&)> block) override;
    void performOnMainThread(std::function<void()> work) override;
    void performInBackground(std::function<void()> work) override;

    /// Moves the time on and runs what falls due, in order.
    void advance(std::chrono::milliseconds time);

    /// Runs all queued work, the background's first.
    void drain();

    std::vector<std::shared_ptr<Entry>> timers;
    std::vector<std::function<void()>> mainQueue;
    std::vector<std::function<void()>> backgroundQueue;

  private:
    std::chrono::milliseconds now_{0};
};

struct FakeScreens : Screens {
    [[nodiscard]] std::optional<Rect> mainScreenVisibleFrame() const override { return visible; }
    std::optional<Rect> visible = Rect{{0, 0}, {1440, 900}};
};

struct FakeImage : Image {
    explicit FakeImage(Size size) : size_(size) {}
    [[nodiscard]] Size size() const override { return size_; }

  private:
    Size size_;
};

/// Knows images by path or by their bytes.
struct FakeImageReader : ImageReader {
    [[nodiscard]] ImagePointer imageFromFile(const std::string& path) const override;
    [[nodiscard]] ImagePointer imageFromData(std::span<const std::byte> data) const override;
    [[nodiscard]] ImagePointer clippedToRoundedRectangle(const ImagePointer& image, double radiusX,
                                                         double radiusY) const override;

    std::map<std::string, ImagePointer> byPath;
    ImagePointer fromAnyData;
    ImagePointer clipped;
    mutable std::vector<std::string> askedPaths;
    mutable std::vector<std::pair<double, double>> clips;
};

/// Gives the result that the test set, whatever the bytes are.
struct ScriptedPropertyLists : PropertyListReader {
    [[nodiscard]] Expected<PropertyListValue> parse(
        std::span<const std::byte> bytes) const override;
    Expected<PropertyListValue> result = Error{"not set"};
    mutable int parses = 0;
};

/// Counts as the test says, or one character a byte.
struct FakeSegmenter : TextSegmenter {
    [[nodiscard]] std::size_t characterCount(std::string_view text) const override;
    std::map<std::string, std::size_t, std::less<>> counts;
};

/// Answers each run with the output that stands for the last argument.
struct ScriptedChildProcess : ChildProcess {
    [[nodiscard]] ChildProcessResult run(const std::string& launchPath,
                                         std::span<const std::string> arguments) override;
    std::map<std::string, std::string> outputForUser;
    std::string otherwise = "ENABLED\n";
    std::int32_t terminationStatus = 0;
    std::vector<std::vector<std::string>> runs;
};

struct FakeConsoleUsers : ConsoleUsers {
    [[nodiscard]] std::optional<std::uint32_t> consoleUserIdentifier() override {
        return identifier;
    }
    [[nodiscard]] std::optional<PasswordEntry> passwordEntry(std::uint32_t asked) override {
        askedIdentifier = asked;
        return entry;
    }
    std::optional<std::uint32_t> identifier;
    std::optional<PasswordEntry> entry;
    std::optional<std::uint32_t> askedIdentifier;
};

struct FakeApplication : Application {
    [[nodiscard]] std::vector<Window*> windows() override { return windowList; }
    void requestCriticalAttention() override { ++attentionRequests; }
    void setApplicationIconImage(const ImagePointer& image) override { icon = image; }

    std::vector<Window*> windowList;
    int attentionRequests = 0;
    ImagePointer icon;
};

}  // namespace velunor::testing
