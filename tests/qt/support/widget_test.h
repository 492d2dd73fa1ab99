#pragma once

#include <gtest/gtest.h>

#include <QCoreApplication>
#include <QElapsedTimer>
#include <functional>

namespace velunor {

/// Runs the event loop until `condition` holds; false when that takes longer than ten seconds.
[[nodiscard]] inline bool waitUntil(const std::function<bool()>& condition) {
    constexpr qint64 patienceMilliseconds = 10000;
    QElapsedTimer elapsed;
    elapsed.start();
    while (!condition()) {
        if (elapsed.elapsed() > patienceMilliseconds) {
            return false;
        }
        QCoreApplication::processEvents(QEventLoop::AllEvents, 20);
    }
    return true;
}

}  // namespace velunor
