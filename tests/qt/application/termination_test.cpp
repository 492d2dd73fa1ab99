// Signals that end the program, each in a forked copy of this one, and what timers leave behind.

#include <fcntl.h>
#include <unistd.h>

#include <QApplication>
#include <array>
#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <set>

#include "platform/qt/application/run_loop.h"
#include "tests/qt/support/widget_test.h"

namespace velunor {
namespace {

using ::testing::ExitedWithCode;

constexpr int terminated = 7;
constexpr std::array numbers{SIGTERM, SIGINT, SIGHUP};

/// Has none of them ignored, however the tests themselves were started.
void hearAll() {
    for (const int number : numbers) {
        static_cast<void>(std::signal(number, SIG_DFL));
    }
}

/// Takes the signals over; the first one ends the process with `terminated`.
void takeOver() {
    onTerminationSignal([] { std::_Exit(terminated); });
}

[[noreturn]] void raiseAndWait(int number) {
    static_cast<void>(std::raise(number));
    static_cast<void>(waitUntil([] { return false; }));
    std::_Exit(EXIT_FAILURE);
}

/// The descriptors of the process that wake something up.
std::set<int> wakingDescriptors() {
    std::set<int> found;
    for (const auto& entry : std::filesystem::directory_iterator("/proc/self/fd")) {
        std::error_code gone;
        if (std::filesystem::read_symlink(entry.path(), gone) == "anon_inode:[eventfd]") {
            found.insert(std::stoi(entry.path().filename()));
        }
    }
    return found;
}

TEST(TerminationTest, EachOfTheSignalsIsHeardOnTheMainLoop) {
    for (const int number : numbers) {
        EXPECT_EXIT(
            {
                hearAll();
                takeOver();
                raiseAndWait(number);
            },
            ExitedWithCode(terminated), "")
            << number;
    }
}

TEST(TerminationTest, BlockedSignalsAreHeardToo) {
    const auto blocked = [](int number) {
        hearAll();
        sigset_t all;
        sigfillset(&all);
        pthread_sigmask(SIG_BLOCK, &all, nullptr);
        static_cast<void>(std::raise(number));
        takeOver();
        static_cast<void>(waitUntil([] { return false; }));
    };
    for (const int number : numbers) {
        EXPECT_EXIT(blocked(number), ExitedWithCode(terminated), "") << number;
    }
}

TEST(TerminationTest, IgnoredEndOfATerminalStaysIgnoredAndNoOtherSignal) {
    const auto ignored = [](int number) {
        std::signal(number, SIG_IGN);
        takeOver();
        struct sigaction now {};
        sigaction(number, nullptr, &now);
        std::_Exit(now.sa_handler == SIG_IGN ? EXIT_SUCCESS : terminated);
    };
    EXPECT_EXIT(ignored(SIGHUP), ExitedWithCode(EXIT_SUCCESS), "");
    EXPECT_EXIT(ignored(SIGTERM), ExitedWithCode(terminated), "");
    EXPECT_EXIT(ignored(SIGINT), ExitedWithCode(terminated), "");
}

TEST(TerminationTest, IsToldOfASignalAlone) {
    const auto count = [] {
        int told = 0;
        onTerminationSignal([&] { ++told; });
        QCoreApplication::processEvents();
        if (told != 0) {
            std::_Exit(EXIT_FAILURE);
        }
        static_cast<void>(std::raise(SIGTERM));
        static_cast<void>(waitUntil([&] { return told > 0; }));
        static_cast<void>(std::raise(SIGTERM));
        for (int turn = 0; turn < 20; ++turn) {
            QCoreApplication::processEvents();
        }
        std::_Exit(told == 1 ? EXIT_SUCCESS : EXIT_FAILURE);
    };
    EXPECT_EXIT(count(), ExitedWithCode(EXIT_SUCCESS), "");
}

TEST(TerminationTest, HandlerLeavesWhatItInterruptsAsItWas) {
    const auto interrupted = [] {
        takeOver();
        struct sigaction now {};
        sigaction(SIGTERM, nullptr, &now);
        if ((now.sa_flags & SA_RESTART) == 0 || sigismember(&now.sa_mask, SIGINT) != 0) {
            std::_Exit(EXIT_FAILURE);
        }
        // It has nothing to write to any more, which is an error.
        close_range(STDERR_FILENO + 1, ~0U, 0);
        errno = 0;
        static_cast<void>(std::raise(SIGTERM));
        std::_Exit(errno);
    };
    EXPECT_EXIT(interrupted(), ExitedWithCode(0), "");
}

TEST(TerminationTest, DescriptorGoesToNoOtherProgramAndNeverBlocks) {
    const auto look = [] {
        const std::set<int> before = wakingDescriptors();
        takeOver();
        int made = 0;
        for (const int descriptor : wakingDescriptors()) {
            if (before.count(descriptor) == 0) {
                ++made;
                if ((fcntl(descriptor, F_GETFD) & FD_CLOEXEC) == 0 ||
                    (fcntl(descriptor, F_GETFL) & O_NONBLOCK) == 0) {
                    std::_Exit(EXIT_FAILURE + 1);
                }
            }
        }
        std::_Exit(made == 1 ? EXIT_SUCCESS : EXIT_FAILURE);
    };
    EXPECT_EXIT(look(), ExitedWithCode(EXIT_SUCCESS), "");
}

TEST(TimerLifeTest, WhatATimerHeldIsGivenBackOnceItIsOver) {
    QtRunLoop runLoop;
    for (const TimerKind kind : {TimerKind::once, TimerKind::repeating}) {
        auto held = std::make_shared<int>(0);
        const std::weak_ptr<int> watched = held;
        runLoop.scheduleTimer(std::chrono::milliseconds(1), kind,
                              [held = std::move(held)](Timer& timer) {
                                  if (++*held == 3) {
                                      timer.invalidate();
                                  }
                              });
        EXPECT_FALSE(watched.expired());
        EXPECT_TRUE(waitUntil([&] { return watched.expired(); }));
    }
}

}  // namespace
}  // namespace velunor
