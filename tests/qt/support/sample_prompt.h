#pragma once

#include <map>
#include <string>
#include <vector>

#include "ui/prompt_window.h"

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
    std::string minutes = "14";
    std::string countdownMiddle = " minutes and ";
    std::string seconds = "59";
    std::string countdownEnd = " seconds.";
    std::string attempts = "2 attempt(s) remaining";
    std::string postponeTitle = "Postpone";
    std::string updateNowTitle = "Update Now";
    bool credentials = false;
    bool notice = false;
    bool otherUser = false;
    bool postponeOffered = true;
    bool rebranded = false;
    /// The shipped texts, by key; none where they are not used.
    std::map<std::string, std::string, std::less<>> texts;

    /// Takes the texts that are shipped in `language`, with the countdown to an installation when
    /// the update `proceeds` by itself. False when they cannot be read or one is missing.
    [[nodiscard]] bool useShippedTexts(const std::string& language, bool proceeds = false);
    void makeLong();
    /// Long names, and texts of the present language that are as long as an administrator's own.
    void lengthen();
    void makeRightToLeft();
    /// Texts that a toolkit might take for markup, mnemonics, placeholders or its own line breaks.
    void makeLiteral();

    /// Writes everything into the window's controls, as the controller does.
    void fill(PromptWindow& window) const;
};

/// The languages that texts are shipped in, such as "pt_BR", sorted.
[[nodiscard]] std::vector<std::string> shippedLanguages();

}  // namespace velunor
