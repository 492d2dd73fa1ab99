#include "tests/support/doubles/recording_services.h"

#include <algorithm>

namespace velunor::testing {

void ManualRunLoop::scheduleTimer(std::chrono::milliseconds interval, TimerKind kind,
                                  std::function<void(Timer&)> block) {
    auto entry = std::make_shared<Entry>();
    entry->interval = interval;
    entry->due = now_ + interval;
    entry->repeats = kind == TimerKind::repeating;
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
    ++parses;
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

}  // namespace velunor::testing
