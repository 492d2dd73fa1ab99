#include "platform/qt/qt_image.h"

#include <QBuffer>
#include <QImageReader>
#include <QPainter>

#include "platform/file.h"

namespace velunor {

namespace {

constexpr int largestSide = 4096;

/// Bitmap formats only: a vector drawing from outside could refer to other files.
bool isAcceptedFormat(const QByteArray& format) {
    static const QList<QByteArray> accepted{"png", "jpeg", "jpg", "gif", "bmp", "webp"};
    return accepted.contains(format);
}

}  // namespace

QImage bitmapOf(const ImagePointer& image) {
    const auto* bitmap = dynamic_cast<const QtImage*>(image.get());
    return bitmap == nullptr ? QImage() : bitmap->image();
}

ImagePointer QtImageReader::imageFromFile(const std::string& path) const {
    const auto bytes = readWholeFile(path);
    const auto* content = std::get_if<std::vector<std::byte>>(&bytes);
    return content == nullptr ? nullptr : imageFromData(*content);
}

ImagePointer QtImageReader::imageFromData(std::span<const std::byte> data) const {
    QByteArray bytes = QByteArray::fromRawData(reinterpret_cast<const char*>(data.data()),
                                               static_cast<qsizetype>(data.size()));
    QBuffer buffer(&bytes);
    buffer.open(QIODevice::ReadOnly);
    // The format is taken from the content; the size is known before anything is allocated.
    const QByteArray format = QImageReader::imageFormat(&buffer);
    QImageReader reader(&buffer, format);
    reader.setAutoTransform(true);
    const QSize size = reader.size();
    if (!isAcceptedFormat(format) || !size.isValid() || size.width() > largestSide ||
        size.height() > largestSide) {
        return nullptr;
    }
    QImage image = reader.read();
    return image.isNull() ? nullptr : std::make_shared<QtImage>(std::move(image));
}

ImagePointer QtImageReader::clippedToRoundedRectangle(const ImagePointer& image, double radiusX,
                                                      double radiusY) const {
    const QImage source = bitmapOf(image);
    if (source.isNull()) {
        return nullptr;
    }
    QImage clipped(source.size(), QImage::Format_ARGB32_Premultiplied);
    clipped.fill(Qt::transparent);
    QPainter painter(&clipped);
    painter.setRenderHints(QPainter::Antialiasing | QPainter::SmoothPixmapTransform);
    // A brush, unlike a clip path, gives a smooth edge.
    painter.setPen(Qt::NoPen);
    painter.setBrush(source);
    painter.drawRoundedRect(QRectF(source.rect()), radiusX, radiusY);
    painter.end();
    return std::make_shared<QtImage>(std::move(clipped));
}

}  // namespace velunor
