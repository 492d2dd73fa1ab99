#pragma once

#include <string>

#include "platform/qt/prompt_window.h"

namespace velunor {

/// The texts and states of a prompt as a test wants to see it in the window.
struct SamplePrompt {
    std::string productName = "Ostrel Agent";
    std::string title = "An update is ready to install";
    std::string message =
        "Your organisation keeps this computer up to date. It restarts when the update is "
        "installed, so please save your work first.";
    std::string updateName = "Security Update 2024-07 for Debian 12";
    std::string credentialsInfo = "Enter the password of an account that may authorise the update.";
    std::string userName = "Frederica Lindqvist";
    std::string changeTitle = "Change";
    std::string noticeText =
        "This account may not authorise system updates. Use another account or postpone.";
    std::string countdownStart = "The update starts in ";
    std::string countdownMiddle = " minutes and ";
    std::string countdownEnd = " seconds.";
    std::string attempts = "2 attempt(s) remaining";
    std::string postponeTitle = "Postpone";
    std::string updateNowTitle = "Update Now";
    bool credentials = false;
    bool notice = false;
    bool otherUser = false;
    bool postponeOffered = true;

    void makeLong();
    void makeRightToLeft();
    /// Texts that a toolkit might take for markup, mnemonics, placeholders or its own line breaks.
    void makeLiteral();

    /// Writes everything into the window's controls, as the controller does.
    void fill(PromptWindow& window) const;
};

}  // namespace velunor
