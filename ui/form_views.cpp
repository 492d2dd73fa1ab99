#include "ui/form_views.h"

#include <QPainter>

#include "platform/qt/desktop/theme.h"

namespace velunor {

namespace {
constexpr double panelRadius = 10;
}  // namespace

void PanelView::paintEvent(QPaintEvent*) {
    const Theme& theme = currentTheme();
    const bool notice = role_ == QLatin1String("notice");
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setBrush(notice ? theme.notice : theme.panel);
    painter.setPen(notice ? QPen(theme.noticeBorder, 1) : QPen(Qt::NoPen));
    painter.drawRoundedRect(QRectF(rect()).adjusted(0.5, 0.5, -0.5, -0.5), panelRadius,
                            panelRadius);
}

ConstraintSpacer::ConstraintSpacer(QWidget* parent) : QWidget(parent) {
    applyHeight();
}

void ConstraintSpacer::setDistance(int distance) {
    distance_ = distance;
    applyHeight();
}

void ConstraintSpacer::setPriority(int priority) {
    priority_ = priority;
    applyHeight();
}

void ConstraintSpacer::applyHeight() {
    setFixedHeight(priority_ >= layoutPriorityDefaultHigh ? distance_ : 0);
}

}  // namespace velunor
