#pragma once

#include <QImage>

#include "platform/image.h"

namespace velunor {

/// A decoded bitmap. Immutable; any thread.
class QtImage : public Image {
  public:
    explicit QtImage(QImage image) : image_(std::move(image)) {}

    [[nodiscard]] Size size() const override {
        const QSizeF size = image_.deviceIndependentSize();
        return {size.width(), size.height()};
    }
    [[nodiscard]] const QImage& image() const { return image_; }

  private:
    QImage image_;
};

/// The bitmap of an image that this toolkit made; a null bitmap for a null pointer.
[[nodiscard]] QImage bitmapOf(const ImagePointer& image);

/// Decodes bitmaps, by their content and not by their name, up to 4096 × 4096. Any thread.
class QtImageReader : public ImageReader {
  public:
    [[nodiscard]] ImagePointer imageFromFile(const std::string& path) const override;
    [[nodiscard]] ImagePointer imageFromData(std::span<const std::byte> data) const override;
    [[nodiscard]] ImagePointer clippedToRoundedRectangle(const ImagePointer& image, double radiusX,
                                                         double radiusY) const override;
};

}  // namespace velunor
