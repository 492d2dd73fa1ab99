#pragma once

#include <functional>
#include <string>
#include <vector>

#include "tests/qt/support/sample_prompt.h"
#include "ui/prompt_window.h"

namespace velunor {

/// A state of the window that people meet.
struct SampleState {
    const char* name = "";
    /// Changes the prompt before its texts are written into the window.
    std::function<void(SamplePrompt&)> prepare = [](auto&) {};
    /// What is done in the window once it is shown.
    std::function<void(PromptWindow&)> act = [](auto&) {};
    /// Whether the countdown leads to an installation.
    bool proceeds = false;
    /// Size of the desktop's font beside its usual one.
    double textScale = 1;
    /// Whether the desktop asks for high contrast.
    bool highContrast = false;
};

/// The states that each language and look is tried with.
[[nodiscard]] const std::vector<SampleState>& sampleStates();

/// States whose texts or looks tell little more in another language.
[[nodiscard]] const std::vector<SampleState>& specialStates();

/// Sets a light or dark palette, as the desktop would.
void setDesktopLook(bool dark);

/// Sets the size of the desktop's font beside its usual one.
void setDesktopTextScale(double scale);

/// Fills and shows the window as `state` has it, with the texts shipped in `language`. False when
/// those cannot be read.
[[nodiscard]] bool showState(PromptWindow& window, const SampleState& state,
                             const std::string& language);

}  // namespace velunor
