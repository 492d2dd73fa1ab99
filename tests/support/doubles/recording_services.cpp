#include "tests/support/doubles/recording_services.h"

#include <algorithm>

namespace velunor::testing {

void ManualRunLoop::scheduleTimer(std::chrono::milliseconds interval, bool repeats,
                                  std::function<void(Timer&)> block) {
    auto entry = std::make_shared<Entry>();
    entry->interval = interval;
    entry->due = now_ + interval;
    entry->repeats = repeats;
    entry->block = std::move(block);
    timers.push_back(std::move(entry));
}

void ManualRunLoop::performOnMainThread(std::function<void()> work) {
    mainQueue.push_back(std::move(work));
}

void ManualRunLoop::performInBackground(std::function<void()> work) {
    backgroundQueue.push_back(std::move(work));
}

void ManualRunLoop::advance(std::chrono::milliseconds time) {
    const auto end = now_ + time;
    while (true) {
        std::shared_ptr<Entry> next;
        for (const auto& timer : timers) {
            if (timer->active && timer->due <= end && (!next || timer->due < next->due)) {
                next = timer;
            }
        }
        if (!next) {
            now_ = end;
            return;
        }
        now_ = next->due;
        next->due += next->interval;
        next->active = next->repeats;
        next->block(*next);
    }
}

void ManualRunLoop::drain() {
    while (!backgroundQueue.empty() || !mainQueue.empty()) {
        auto& queue = backgroundQueue.empty() ? mainQueue : backgroundQueue;
        const auto work = std::move(queue.front());
        queue.erase(queue.begin());
        work();
    }
}

ImagePointer FakeImageReader::imageFromFile(const std::string& path) const {
    askedPaths.push_back(path);
    const auto found = byPath.find(path);
    return found == byPath.end() ? nullptr : found->second;
}

ImagePointer FakeImageReader::imageFromData(std::span<const std::byte> /*data*/) const {
    return fromAnyData;
}

ImagePointer FakeImageReader::clippedToRoundedRectangle(const ImagePointer& /*image*/,
                                                        double radiusX, double radiusY) const {
    clips.emplace_back(radiusX, radiusY);
    return clipped;
}

Expected<PropertyListValue> ScriptedPropertyLists::parse(
    std::span<const std::byte> /*bytes*/) const {
    return result;
}

std::size_t FakeSegmenter::characterCount(std::string_view text) const {
    const auto found = counts.find(text);
    return found == counts.end() ? text.size() : found->second;
}

ChildProcessResult ScriptedChildProcess::run(const std::string& launchPath,
                                             std::span<const std::string> arguments) {
    std::vector<std::string> command{launchPath};
    command.insert(command.end(), arguments.begin(), arguments.end());
    runs.push_back(command);
    const auto found = outputForUser.find(command.back());
    return {terminationStatus, found == outputForUser.end() ? otherwise : found->second};
}

namespace {

class FakeRecord : public DirectoryRecord {
  public:
    explicit FakeRecord(FakeDirectory::Account account) : account_(std::move(account)) {}
    [[nodiscard]] DirectoryResult<DirectoryValues> valuesForAttribute(
        std::string_view attribute) const override {
        return attribute == attributeJPEGPhoto ? account_.photo : account_.picture;
    }

  private:
    FakeDirectory::Account account_;
};

class FakeNode : public DirectoryNode {
  public:
    FakeNode(FakeDirectory& directory, std::string name)
        : directory_(directory), name_(std::move(name)) {}

    std::optional<DirectoryError> setCredentials(const std::string& recordName,
                                                 const Secret& password) override {
        const std::string pair = recordName + ":" + std::string(password.reveal());
        directory_.checks.push_back(name_ + " " + pair);
        const auto& accepted = directory_.accepted[name_];
        if (std::find(accepted.begin(), accepted.end(), pair) != accepted.end()) {
            return std::nullopt;
        }
        return DirectoryError{"Fake", 5000, "Credentials rejected"};
    }

    std::optional<PropertyListDictionary> nodeDetails(
        std::span<const std::string_view> /*keys*/) override {
        return directory_.searchDetails;
    }

    DirectoryResult<DirectoryRecords> usersNamed(const std::string& recordName,
                                                 std::size_t /*maximumResults*/) override {
        directory_.queries.push_back(recordName);
        if (directory_.queryError) {
            return *directory_.queryError;
        }
        DirectoryRecords records;
        const auto found = directory_.accounts.find(recordName);
        if (found != directory_.accounts.end()) {
            records.push_back(std::make_unique<FakeRecord>(found->second));
        }
        return records;
    }

  private:
    FakeDirectory& directory_;
    std::string name_;
};

class FakeSession : public DirectorySession {
  public:
    explicit FakeSession(FakeDirectory& directory) : directory_(directory) {}

    DirectoryResult<DirectoryNodePointer> openNode(const std::string& name) override {
        const bool opens =
            name == "/Search" ? directory_.searchOpens : directory_.accepted.contains(name);
        if (!opens) {
            return DirectoryError{"Fake", 2000, "No such node"};
        }
        return std::make_unique<FakeNode>(directory_, name);
    }

    DirectoryResult<DirectoryNodePointer> openNode(DirectoryNodeType /*type*/) override {
        if (directory_.localNodesError) {
            return *directory_.localNodesError;
        }
        return std::make_unique<FakeNode>(directory_, "/Local");
    }

  private:
    FakeDirectory& directory_;
};

}  // namespace

std::shared_ptr<DirectorySession> FakeDirectory::defaultSession() {
    return hasSession ? std::make_shared<FakeSession>(*this) : nullptr;
}

PropertyListDictionary searchPathDetails(const std::vector<std::string>& names) {
    PropertyListArray list;
    for (const std::string& name : names) {
        list.push_back({name});
    }
    return {{std::string(attributeSearchPath), {list}}};
}

}  // namespace velunor::testing
