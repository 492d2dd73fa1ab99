#include "tests/support/desktop/picture.h"

#include <algorithm>
#include <string>

#include "tests/support/files.h"

namespace velunor::testing {
namespace {

/// Takes the part that hangs together with the pixel at `first` out of `open`, and gives its place.
PixelRect takePart(const Picture& picture, std::size_t first, std::vector<bool>& open,
                   std::size_t& count) {
    const auto width = static_cast<std::size_t>(picture.width);
    int left = picture.width;
    int top = picture.height;
    int right = -1;
    int bottom = -1;
    std::vector<std::size_t> next{first};
    open[first] = false;
    const auto add = [&](bool inside, std::size_t pixel) {
        if (inside && open[pixel]) {
            open[pixel] = false;
            next.push_back(pixel);
        }
    };
    while (!next.empty()) {
        const std::size_t pixel = next.back();
        next.pop_back();
        ++count;
        const auto x = static_cast<int>(pixel % width);
        const auto y = static_cast<int>(pixel / width);
        left = std::min(left, x);
        right = std::max(right, x);
        top = std::min(top, y);
        bottom = std::max(bottom, y);
        add(x > 0, pixel - 1);
        add(x + 1 < picture.width, pixel + 1);
        add(y > 0, pixel - width);
        add(y + 1 < picture.height, pixel + width);
    }
    return {left, top, right - left + 1, bottom - top + 1};
}

}  // namespace

std::size_t countOfColour(const Picture& picture, const PixelRect& place, std::uint32_t colour) {
    std::size_t count = 0;
    const int right = std::min(place.x + place.width, picture.width);
    const int bottom = std::min(place.y + place.height, picture.height);
    for (int y = std::max(place.y, 0); y < bottom; ++y) {
        for (int x = std::max(place.x, 0); x < right; ++x) {
            count += picture.at(x, y) == colour ? 1 : 0;
        }
    }
    return count;
}

PixelRect largestPlaceOfColour(const Picture& picture, std::uint32_t colour) {
    std::vector<bool> open(picture.pixels.size());
    std::transform(picture.pixels.begin(), picture.pixels.end(), open.begin(),
                   [colour](std::uint32_t pixel) { return pixel == colour; });
    PixelRect largest;
    std::size_t most = 0;
    for (std::size_t pixel = 0; pixel < open.size(); ++pixel) {
        if (open[pixel]) {
            std::size_t count = 0;
            const PixelRect place = takePart(picture, pixel, open, count);
            if (count > most) {
                most = count;
                largest = place;
            }
        }
    }
    return largest;
}

void writePicture(const Picture& picture, const std::filesystem::path& path) {
    std::string file =
        "P6\n" + std::to_string(picture.width) + " " + std::to_string(picture.height) + "\n255\n";
    for (const std::uint32_t pixel : picture.pixels) {
        for (const unsigned shift : {16U, 8U, 0U}) {
            file.push_back(static_cast<char>(pixel >> shift & 0xFFU));
        }
    }
    writeFile(path, file);
}

}  // namespace velunor::testing
