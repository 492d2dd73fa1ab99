#pragma once

#include <gtest/gtest.h>

#include <QCoreApplication>

#include "tests/qt/support/sample_prompt.h"
#include "tests/qt/support/widget_test.h"

namespace velunor {

/// The window with the texts of a sample.
class PromptWindowTest : public testing::Test {
  protected:
    void show() {
        prompt.fill(window);
        window.present();
        QCoreApplication::processEvents();
    }
    template <class Widget = QWidget>
    Widget& find(const char* name) {
        return *window.findChild<Widget*>(QLatin1String(name));
    }
    /// Upper edge inside the window.
    int top(const char* name) { return find(name).mapTo(&window, QPoint(0, 0)).y(); }

    PromptWindow window;
    SamplePrompt prompt;
};

}  // namespace velunor
