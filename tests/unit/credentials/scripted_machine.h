#pragma once

#include <map>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "platform/graphics.h"
#include "platform/system.h"

namespace velunor::testing {

/// Gives the same answer to every command and keeps the commands.
class ScriptedChildProcess : public ChildProcess {
  public:
    struct Command {
        std::string launchPath;
        std::vector<std::string> arguments;
        bool operator==(const Command&) const = default;
    };

    [[nodiscard]] ChildProcessResult run(const std::string& launchPath,
                                         std::span<const std::string> arguments) override {
        runs.push_back({launchPath, {arguments.begin(), arguments.end()}});
        return answer;
    }

    ChildProcessResult answer;
    std::vector<Command> runs;
};

/// A console and a password database with the users that the test puts there.
class ScriptedConsoleUsers : public ConsoleUsers {
  public:
    [[nodiscard]] std::optional<std::uint32_t> consoleUserIdentifier() override {
        return identifier;
    }

    [[nodiscard]] std::optional<PasswordEntry> passwordEntry(
        std::uint32_t userIdentifier) override {
        const auto found = entries.find(userIdentifier);
        return found == entries.end() ? std::nullopt : std::optional(found->second);
    }

    std::optional<std::uint32_t> identifier;
    std::map<std::uint32_t, PasswordEntry> entries;
};

class SizedImage : public Image {
  public:
    explicit SizedImage(Size size) : size_(size) {}
    [[nodiscard]] Size size() const override { return size_; }

  private:
    Size size_;
};

[[nodiscard]] inline ImagePointer imageOfSize(double width, double height) {
    return std::make_shared<SizedImage>(Size{width, height});
}

/// The bytes of a text, as a byte string of the directory.
[[nodiscard]] inline std::vector<std::byte> bytesOf(std::string_view text) {
    const auto bytes = std::as_bytes(std::span(text));
    return {bytes.begin(), bytes.end()};
}

/// Knows images by the bytes and the paths that the test lists.
class ScriptedImageReader : public ImageReader {
  public:
    struct Clip {
        ImagePointer image;
        double radiusX;
        double radiusY;
        bool operator==(const Clip&) const = default;
    };

    [[nodiscard]] ImagePointer imageFromFile(const std::string& path) const override {
        const auto found = files.find(path);
        return found == files.end() ? nullptr : found->second;
    }

    [[nodiscard]] ImagePointer imageFromData(std::span<const std::byte> data) const override {
        const auto found = datas.find({data.begin(), data.end()});
        return found == datas.end() ? nullptr : found->second;
    }

    [[nodiscard]] ImagePointer clippedToRoundedRectangle(const ImagePointer& image, double radiusX,
                                                         double radiusY) const override {
        clips.push_back({image, radiusX, radiusY});
        return clipped;
    }

    std::map<std::string, ImagePointer> files;
    std::map<std::vector<std::byte>, ImagePointer> datas;
    /// The result of every clipping.
    ImagePointer clipped;
    mutable std::vector<Clip> clips;
};

}  // namespace velunor::testing
