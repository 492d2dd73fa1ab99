#include "platform/qt/picture_view.h"

#include <QPainter>

namespace velunor {

PictureView::PictureView(QWidget* parent) : QWidget(parent) {
    renderer_.setAspectRatioMode(Qt::KeepAspectRatio);
}

void PictureView::setDrawing(const QString& resource) {
    drawing_ = resource;
    renderer_.load(resource);
    update();
}

void PictureView::setBitmap(const QImage& image) {
    bitmap_ = image;
    update();
}

void PictureView::paintEvent(QPaintEvent* /*event*/) {
    QPainter painter(this);
    painter.setRenderHints(QPainter::Antialiasing | QPainter::SmoothPixmapTransform);
    if (bitmap_.isNull()) {
        renderer_.render(&painter, QRectF(rect()));
        return;
    }
    const QSize fitted = bitmap_.size().scaled(size() * devicePixelRatioF(), Qt::KeepAspectRatio);
    QImage sharp = bitmap_.scaled(fitted, Qt::IgnoreAspectRatio, Qt::SmoothTransformation);
    sharp.setDevicePixelRatio(devicePixelRatioF());
    const QSizeF shown = sharp.deviceIndependentSize();
    painter.drawImage(QPointF((width() - shown.width()) / 2, (height() - shown.height()) / 2),
                      sharp);
}

}  // namespace velunor
