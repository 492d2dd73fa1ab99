#pragma once

#include <QImage>
#include <vector>

namespace velunor {

/// A picture of the window whose look was approved; it is kept as <name>.png.
struct ApprovedPicture {
    const char* name = "";
    const char* state = "";
    const char* language = "";
    bool dark = false;
};

[[nodiscard]] const std::vector<ApprovedPicture>& approvedPictures();

/// Hides the machine's own fonts and their settings. Before the application object is made.
void prepareApprovedFont();

/// Draws with DejaVu Sans from now on; false, with a line on standard error, where it is missing.
[[nodiscard]] bool useApprovedFont();

/// The name of the picture of all colours.
inline constexpr const char* coloursName = "colours";

/// All colours of the themes: light, dark, and both in high contrast, a row for each.
[[nodiscard]] QImage coloursNow();

/// The window as it looks now; null when its texts cannot be read.
[[nodiscard]] QImage renderNow(const ApprovedPicture& picture);

/// The share of pixels, from 0 to 1, that differ by more than a shade; 1 when the sizes differ.
[[nodiscard]] double differingShare(const QImage& one, const QImage& other);

}  // namespace velunor
