// A picture: what is taken is within the limits of its sides, a rounded copy of it has its size,
// and no input takes more time or memory than a fuzzer's run allows.
#include <algorithm>

#include "platform/qt/application/image_reader.h"
#include "tests/fuzz/fuzzing.h"
#include "tests/fuzz/offscreen_application.h"

namespace velunor {

void fuzz(std::string_view input) {
    offscreenApplication();
    static const QtImageReader reader;
    const ImagePointer image = reader.imageFromData(std::as_bytes(std::span(input)));
    if (image == nullptr) {
        return;
    }
    const Size size = image->size();
    require(size.width > 0 && size.height > 0);
    const QSize pixels = bitmapOf(image).size();
    require(!pixels.isEmpty() && std::max(pixels.width(), pixels.height()) <= largestImageSide);
    const ImagePointer rounded = reader.clippedToRoundedRectangle(image, 20, 20);
    require(rounded != nullptr && rounded->size() == size);
}

}  // namespace velunor
