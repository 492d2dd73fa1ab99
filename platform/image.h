#pragma once

#include <cstddef>
#include <memory>
#include <span>
#include <string>

#include "platform/geometry.h"
#include "platform/interface.h"

namespace velunor {

/// A decoded picture. Immutable, so one may be used from several threads.
class Image : public Interface {
  public:
    /// Width and height in points.
    [[nodiscard]] virtual Size size() const = 0;
};

using ImagePointer = std::shared_ptr<const Image>;

/// Makes images. Every operation may be called from any thread and answers a null pointer where
/// there is no readable image or where its size is beyond the reader's limits.
class ImageReader : public Interface {
  public:
    [[nodiscard]] virtual ImagePointer imageFromFile(const std::string& path) const = 0;
    [[nodiscard]] virtual ImagePointer imageFromData(std::span<const std::byte> data) const = 0;

    /// A new image of the same size: `image` drawn into its full rectangle, clipped to a rounded
    /// rectangle with the given corner radii in points.
    [[nodiscard]] virtual ImagePointer clippedToRoundedRectangle(const ImagePointer& image,
                                                                 double radiusX,
                                                                 double radiusY) const = 0;
};

}  // namespace velunor
