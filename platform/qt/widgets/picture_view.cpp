#include "platform/qt/widgets/picture_view.h"

#include <QPicture>
#include <algorithm>

#include "platform/qt/desktop/appearance.h"

namespace velunor {

void drawVectorPicture(QPainter& painter, const QRect& area, const QString& resource,
                       const QColor& tint) {
    QPicture drawing;
    if (!drawing.load(resource)) {
        return;
    }
    const double scale = painter.device()->devicePixelRatioF();
    QImage picture(area.size() * scale, QImage::Format_ARGB32_Premultiplied);
    picture.setDevicePixelRatio(scale);
    picture.fill(Qt::transparent);
    QPainter canvas(&picture);
    canvas.save();
    canvas.scale(area.width() / recordedPictureSide, area.height() / recordedPictureSide);
    canvas.drawPicture(0, 0, drawing);
    canvas.restore();
    if (tint.isValid()) {
        canvas.setCompositionMode(QPainter::CompositionMode_SourceIn);
        canvas.fillRect(QRect(QPoint(0, 0), area.size()), tint);
    }
    canvas.end();
    painter.drawImage(area.topLeft(), picture);
}

QPixmap vectorPicture(const QString& resource, int side) {
    QPixmap picture(side, side);
    picture.fill(Qt::transparent);
    QPainter painter(&picture);
    drawVectorPicture(painter, picture.rect(), resource, QColor());
    return picture;
}

PictureView::PictureView(QWidget* parent) : QWidget(parent) {
    setSizePolicy(QSizePolicy::Fixed, QSizePolicy::Fixed);
}

QSize PictureView::sizeHint() const {
    constexpr double sideInLines = 0.9;
    const int grown = noticeTint_ ? qRound(sideInLines * fontMetrics().height()) : 0;
    const int side = std::max(side_, grown);
    const double proportion = image_.isNull() ? 1 : double(image_.width()) / image_.height();
    return {std::clamp(qRound(side * proportion), side, std::max(side, widest_)), side};
}

void PictureView::setImage(const QImage& image) {
    image_ = image;
    updateGeometry();
    update();
}

void PictureView::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    if (image_.isNull()) {
        drawVectorPicture(painter, rect(), source_,
                          noticeTint_ ? currentTheme().noticeText : QColor());
        return;
    }
    const double scale = devicePixelRatioF();
    QImage fitted = image_.scaled(size() * scale, Qt::KeepAspectRatio, Qt::SmoothTransformation);
    fitted.setDevicePixelRatio(scale);
    const QSizeF shown = fitted.deviceIndependentSize();
    painter.drawImage(QPointF((width() - shown.width()) / 2, (height() - shown.height()) / 2),
                      fitted);
}

}  // namespace velunor
