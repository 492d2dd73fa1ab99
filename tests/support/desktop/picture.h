#pragma once

#include <cstdint>
#include <filesystem>
#include <vector>

#include "tests/support/desktop/display.h"

namespace velunor::testing {

/// What a screen shows, pixel by pixel.
struct Picture {
    int width = 0;
    int height = 0;
    /// 0xRRGGBB, row by row from the top.
    std::vector<std::uint32_t> pixels{};

    [[nodiscard]] std::uint32_t at(int x, int y) const {
        return pixels[static_cast<std::size_t>(y) * static_cast<std::size_t>(width) +
                      static_cast<std::size_t>(x)];
    }
};

/// How many pixels of the place have exactly this colour. What lies off the picture has none.
[[nodiscard]] std::size_t countOfColour(const Picture& picture, const PixelRect& place,
                                        std::uint32_t colour);

/// The place of the largest part of the picture whose pixels have exactly this colour and hang
/// together; without width where there is none.
[[nodiscard]] PixelRect largestPlaceOfColour(const Picture& picture, std::uint32_t colour);

/// Writes the picture as a PPM file. Throws when that fails.
void writePicture(const Picture& picture, const std::filesystem::path& path);

}  // namespace velunor::testing
