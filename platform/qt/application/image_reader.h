#pragma once

#include <QImage>

#include "platform/graphics.h"

namespace velunor {

/// Largest width and height of a picture in pixels.
inline constexpr int largestImageSide = 4096;

/// A decoded picture. It never changes, so any thread may read it.
class QtImage final : public Image {
  public:
    explicit QtImage(QImage image) : image_(std::move(image)) {}
    [[nodiscard]] Size size() const override;
    [[nodiscard]] const QImage& image() const { return image_; }

  private:
    QImage image_;
};

/// The picture behind an image of this reader; a null picture for any other. Any thread.
[[nodiscard]] QImage bitmapOf(const ImagePointer& image);

/// Reads PNG, JPEG, GIF (its first picture) and BMP, and WebP where the toolkit's plug-in for it is
/// installed, told apart by their content. Vector formats, files that are not regular ones, files
/// over `largestReadableFile` and sides over `largestImageSide` are refused, all but the screen of
/// a GIF before anything is decoded: left to itself the toolkit would try every decoder on files
/// that anybody may have written. Any thread.
class QtImageReader final : public ImageReader {
  public:
    QtImageReader();
    [[nodiscard]] ImagePointer imageFromFile(const std::string& path) const override;
    [[nodiscard]] ImagePointer imageFromData(std::span<const std::byte> data) const override;
    [[nodiscard]] ImagePointer clippedToRoundedRectangle(const ImagePointer& image, double radiusX,
                                                         double radiusY) const override;
};

}  // namespace velunor
