#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <condition_variable>
#include <csignal>
#include <deque>
#include <future>
#include <mutex>
#include <stdexcept>
#include <thread>

#include "tests/unit/credentials/panel_fixture.h"

namespace velunor::testing {

namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::SizeIs;

/// Runs background work on threads of its own; what they queue for the main thread is run when the
/// test asks for it.
class ThreadedRunLoop : public RunLoop {
  public:
    void scheduleTimer(std::chrono::milliseconds /*interval*/, TimerKind /*kind*/,
                       std::function<void(Timer&)> /*block*/) override {
        throw std::logic_error("The panel needs no timer");
    }

    void performOnMainThread(std::function<void()> work) override {
        const std::scoped_lock lock(mutex_);
        mainQueue_.push_back(std::move(work));
    }

    void performInBackground(std::function<void()> work) override {
        threads_.emplace_back(std::move(work));
    }

    /// Waits until the background work is done.
    void waitForBackground() {
        for (std::jthread& thread : threads_) {
            thread.join();
        }
        threads_.clear();
    }

    /// Runs what is queued for the main thread; the answer is how much it was.
    int runMainQueue() {
        std::deque<std::function<void()>> queue;
        {
            const std::scoped_lock lock(mutex_);
            queue.swap(mainQueue_);
        }
        for (const auto& work : queue) {
            work();
        }
        return static_cast<int>(queue.size());
    }

  private:
    std::mutex mutex_;
    std::deque<std::function<void()>> mainQueue_;
    std::vector<std::jthread> threads_;
};

/// An image view that knows who sets its image.
class ThreadNotingImageView : public testing::PlainImageView {
  public:
    void setImage(ImagePointer value) override {
        setters.push_back(std::this_thread::get_id());
        PlainImageView::setImage(std::move(value));
    }

    std::vector<std::thread::id> setters;
};

/// A reader whose reading waits until the test lets it go on.
class WaitingImageReader : public ScriptedImageReader {
  public:
    [[nodiscard]] ImagePointer imageFromData(std::span<const std::byte> data) const override {
        readingThread = std::this_thread::get_id();
        if (goOn.valid()) {
            goOn.wait();
        }
        return ScriptedImageReader::imageFromData(data);
    }

    std::shared_future<void> goOn;
    mutable std::thread::id readingThread;
};

class PictureWork : public PanelFixture {
  protected:
    PictureWork() {
        icon.image = defaultPicture;
        outlets.userIcon.connect(&icon);
        reader.clipped = roundedPicture;
    }

    /// The panel over the reader that can be made to wait.
    [[nodiscard]] std::unique_ptr<CredentialsPanel> openPanel() {
        reader.datas = images.datas;
        auto panel = makePanel(runLoop, reader);
        panel->setInitialUserData();
        return panel;
    }

    ThreadNotingImageView icon;
    WaitingImageReader reader;
    ThreadedRunLoop runLoop;
};

using PictureWorkDeathTest = PictureWork;

TEST_F(PictureWork, LooksTheConsoleUsersPictureUpInTheBackgroundAndSetsItOnTheMainThread) {
    logIn("ada", Size{64, 64});
    const auto panel = openPanel();
    runLoop.waitForBackground();
    EXPECT_EQ(icon.image, defaultPicture);
    EXPECT_EQ(runLoop.runMainQueue(), 1);
    EXPECT_EQ(icon.image, roundedPicture);
    EXPECT_THAT(icon.setters, ElementsAre(std::this_thread::get_id()));
    EXPECT_NE(reader.readingThread, std::this_thread::get_id());
    EXPECT_THAT(directory.calls, ::testing::Contains("users local ada 1"));
}

TEST_F(PictureWork, ClipsASquarePictureToACircle) {
    logIn("ada", Size{64, 64});
    const auto panel = openPanel();
    runLoop.waitForBackground();
    EXPECT_THAT(reader.clips, ElementsAre(ScriptedImageReader::Clip{accountPicture, 32, 32}));
}

TEST_F(PictureWork, ClipsAnOblongPictureToAnEllipseOfHalfItsSides) {
    logIn("ada", Size{65, 30});
    const auto panel = openPanel();
    runLoop.waitForBackground();
    EXPECT_THAT(reader.clips, ElementsAre(ScriptedImageReader::Clip{accountPicture, 32.5, 15}));
}

TEST_F(PictureWork, KeepsTheDefaultPictureWhenThereIsNone) {
    logIn("ada");
    const auto panel = openPanel();
    runLoop.waitForBackground();
    EXPECT_EQ(runLoop.runMainQueue(), 0);
    EXPECT_EQ(icon.image, defaultPicture);
    EXPECT_THAT(reader.clips, IsEmpty());
}

TEST_F(PictureWork, KeepsTheDefaultPictureWhenTheRoundedOneCannotBeDrawn) {
    logIn("ada", Size{64, 64});
    reader.clipped = nullptr;
    const auto panel = openPanel();
    runLoop.waitForBackground();
    EXPECT_EQ(runLoop.runMainQueue(), 0);
    EXPECT_THAT(reader.clips, SizeIs(1));
    EXPECT_EQ(icon.image, defaultPicture);
}

TEST_F(PictureWork, LeavesThePanelUsableWhileTheDirectoryIsSlow) {
    logIn("ada", Size{64, 64});
    std::promise<void> release;
    reader.goOn = release.get_future();
    const auto panel = openPanel();
    userNameTextField.value = "grace";
    panel->controlTextDidEndEditing();
    EXPECT_EQ(panel->lastSecureTokenDisabledUser(), "grace");
    release.set_value();
    runLoop.waitForBackground();
    runLoop.runMainQueue();
    EXPECT_EQ(icon.image, roundedPicture);
}

TEST_F(PictureWork, EndsWithoutHarmWhenThePanelGoesWhileItRuns) {
    logIn("ada", Size{64, 64});
    std::promise<void> release;
    reader.goOn = release.get_future();
    auto panel = openPanel();
    panel.reset();
    release.set_value();
    runLoop.waitForBackground();
    EXPECT_EQ(runLoop.runMainQueue(), 1);
    EXPECT_THAT(icon.setters, IsEmpty());
}

TEST_F(PictureWork, EndsWithoutHarmWhenThePanelGoesBeforeThePictureIsSet) {
    logIn("ada", Size{64, 64});
    auto panel = openPanel();
    runLoop.waitForBackground();
    panel.reset();
    EXPECT_EQ(runLoop.runMainQueue(), 1);
    EXPECT_THAT(icon.setters, IsEmpty());
}

TEST_F(PictureWorkDeathTest, StopsWhenThereIsAPictureButNoImageView) {
    outlets.userIcon.connect(nullptr);
    logIn("ada", Size{64, 64});
    const auto panel = openPanel();
    runLoop.waitForBackground();
    EXPECT_EXIT(runLoop.runMainQueue(), ::testing::KilledBySignal(SIGABRT), "^$");
}

TEST_F(PictureWork, NeedsNoImageViewWhenThereIsNoPicture) {
    outlets.userIcon.connect(nullptr);
    logIn("ada");
    const auto panel = openPanel();
    runLoop.waitForBackground();
    EXPECT_EQ(runLoop.runMainQueue(), 0);
}

}  // namespace

}  // namespace velunor::testing
