#include "platform/qt/application/image_reader.h"

#include <QBuffer>
#include <QImageReader>
#include <QPainter>
#include <algorithm>
#include <array>

#include "platform/file.h"

namespace velunor {
namespace {

/// Room for the largest picture with four bytes a pixel, and for a decoder's working copy.
constexpr int allocationLimitMegabytes =
    2 * largestImageSide / 1024 * (largestImageSide / 1024) * 4;

struct Signature {
    QByteArrayView start;
    const char* format = nullptr;
};

constexpr std::array<Signature, 6> signatures{{{"\x89PNG\r\n\x1a\n", "png"},
                                               {"\xff\xd8\xff", "jpeg"},
                                               {"GIF87a", "gif"},
                                               {"GIF89a", "gif"},
                                               {"BM", "bmp"},
                                               {"RIFF", "webp"}}};

bool isTooLarge(const QSize& size) {
    return std::max(size.width(), size.height()) > largestImageSide;
}

QByteArray formatOf(const QByteArray& bytes) {
    for (const Signature& signature : signatures) {
        if (bytes.startsWith(signature.start)) {
            return signature.format;
        }
    }
    return {};
}

}  // namespace

Size QtImage::size() const {
    const QSizeF points = image_.deviceIndependentSize();
    return {points.width(), points.height()};
}

QImage bitmapOf(const ImagePointer& image) {
    const auto* decoded = dynamic_cast<const QtImage*>(image.get());
    return decoded == nullptr ? QImage() : decoded->image();
}

QtImageReader::QtImageReader() {
    QImageReader::setAllocationLimit(allocationLimitMegabytes);
}

ImagePointer QtImageReader::imageFromFile(const std::string& path) const {
    const auto content = readWholeFile(path);
    return content ? imageFromData(*content) : nullptr;
}

ImagePointer QtImageReader::imageFromData(std::span<const std::byte> data) const {
    QByteArray bytes = QByteArray::fromRawData(reinterpret_cast<const char*>(data.data()),
                                               static_cast<qsizetype>(data.size()));
    const QByteArray format = formatOf(bytes);
    if (format.isEmpty()) {
        return nullptr;
    }
    QBuffer buffer(&bytes);
    // Naming the format keeps every other decoder away from the bytes.
    QImageReader reader(&buffer, format);
    reader.setAutoDetectImageFormat(false);
    reader.setAutoTransform(true);
    const QSize size = reader.size();
    if (size.isEmpty() || isTooLarge(size)) {
        return nullptr;
    }
    QImage picture = reader.read();
    // A GIF has the size of its screen, which its reader does not tell before.
    return picture.isNull() || isTooLarge(picture.size())
               ? nullptr
               : std::make_shared<QtImage>(std::move(picture));
}

ImagePointer QtImageReader::clippedToRoundedRectangle(const ImagePointer& image, double radiusX,
                                                      double radiusY) const {
    const QImage source = bitmapOf(image);
    if (source.isNull()) {
        return nullptr;
    }
    QImage clipped(source.size(), QImage::Format_ARGB32_Premultiplied);
    clipped.setDevicePixelRatio(source.devicePixelRatio());
    clipped.fill(Qt::transparent);
    {
        QPainter painter(&clipped);
        painter.setRenderHint(QPainter::Antialiasing);
        painter.setPen(Qt::NoPen);
        painter.setBrush(Qt::black);
        const QRectF whole(QPointF(0, 0), source.deviceIndependentSize());
        // A shape drawn smoothly and used as a stencil has soft edges, which a clip path has not.
        painter.drawRoundedRect(whole, radiusX, radiusY);
        painter.setCompositionMode(QPainter::CompositionMode_SourceIn);
        painter.drawImage(whole, source);
    }
    return std::make_shared<QtImage>(std::move(clipped));
}

}  // namespace velunor
