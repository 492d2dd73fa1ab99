#include "platform/qt/panel_widgets.h"

#include <QPainter>

#include "platform/qt/theme.h"

namespace velunor {

namespace {

constexpr int winningPriority = 500;
constexpr qreal cardRadius = 8;

}  // namespace

LayerView::LayerView(QWidget* parent) : QWidget(parent) {}

void LayerView::setLayerColor(const QColor& color) {
    color_ = color;
    update();
}

void LayerView::setLayerCornerRadius(qreal radius) {
    cornerRadius_ = radius;
    update();
}

void LayerView::paintEvent(QPaintEvent* /*event*/) {
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(Qt::NoPen);
    painter.setBrush(color_);
    painter.drawRoundedRect(QRectF(rect()), cornerRadius_, cornerRadius_);
}

NoticeCard::NoticeCard(QWidget* parent) : QWidget(parent) {}

void NoticeCard::paintEvent(QPaintEvent* /*event*/) {
    const Theme& theme = themeFor(palette());
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(theme.noticeBorder);
    painter.setBrush(theme.noticeCard);
    painter.drawRoundedRect(QRectF(rect()).adjusted(0.5, 0.5, -0.5, -0.5), cardRadius, cardRadius);
}

ConstraintGap::ConstraintGap(QWidget* parent) : QWidget(parent) {
    setFixedHeight(0);
}

void ConstraintGap::setPriority(int priority) {
    setFixedHeight(priority >= winningPriority ? length_ : 0);
}

}  // namespace velunor
