#pragma once

#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "tests/desktops/desktop.h"

namespace velunor::testing {

/// What was found in a row of the table.
struct Finding {
    bool inOrder = false;
    /// What is the case, in words that are the same whenever it is.
    std::string what;
    /// The figures that were measured.
    std::string measured{};
};

/// One prompt on one desktop, from before it comes up until its answer. The rows are tried in the
/// order in which they stand here; each throws when the desktop itself fails.
class Trial {
  public:
    Trial(Session& session, Desktop& desktop);

    /// Somebody types into another window while the prompt comes up, and afterwards.
    [[nodiscard]] Finding typingElsewhere();
    [[nodiscard]] Finding place();
    [[nodiscard]] Finding attention();
    [[nodiscard]] Finding aboveOtherWindows();
    [[nodiscard]] Finding everyWorkspace();
    [[nodiscard]] Finding fullScreen();
    [[nodiscard]] Finding minimized();
    [[nodiscard]] Finding closing();
    [[nodiscard]] Finding dragging();
    /// A click into a field, a name, a click on Postpone: the last row, since it ends the prompt.
    [[nodiscard]] Finding answering();

  private:
    /// The place of the card once it rests.
    [[nodiscard]] PixelRect restingPlace();
    /// The part of the card that is seen at this place, from 0 to 1.
    [[nodiscard]] double seenPart(const PixelRect& place);
    /// Whether nearly all of the card is seen within `limit`.
    [[nodiscard]] bool isSeen(std::chrono::milliseconds limit = shortPatience);
    /// Clicks on a bare place of the card where another window covers it in part.
    void bringToFront();
    /// The controls of the prompt that have the focus.
    [[nodiscard]] std::string focusedControls();
    [[nodiscard]] bool clickControl(const std::string& role, const std::string& name);

    Session& session_;
    Desktop& desktop_;
    PixelRect usable_;
    std::unique_ptr<OtherWindow> terminal_;
    /// How many pixels of the card's ground are seen where nothing is above it.
    std::size_t wholeCard_ = 0;
};

}  // namespace velunor::testing
