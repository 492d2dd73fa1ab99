#include <QPainter>
#include <QScrollArea>
#include <QScrollBar>

#include "platform/qt/desktop/theme.h"
#include "ui/form_views.h"
#include "ui/prompt_window.h"
#include "ui_prompt_window.h"

namespace velunor {

namespace {

QString scrollBarStyle(const Theme& theme) {
    return QStringLiteral(
               "QScrollBar { background: transparent; width: 10px; margin: 4px 2px; }"
               "QScrollBar::handle { background: %1; border-radius: 3px; min-height: 32px; }"
               "QScrollBar::add-line, QScrollBar::sub-line { height: 0; }"
               "QScrollBar::add-page, QScrollBar::sub-page { background: transparent; }")
        .arg(theme.fieldBorder.name());
}

}  // namespace

void PromptWindow::paintEvent(QPaintEvent*) {
    const Theme& theme = currentTheme();
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    const QRectF edge = QRectF(rect()).adjusted(0.5, 0.5, -0.5, -0.5);
    painter.setPen(QPen(theme.cardBorder, 1));
    if (mask().isEmpty()) {
        painter.setBrush(theme.card);
        painter.drawRoundedRect(edge, cardRadius, cardRadius);
    } else {
        // Along the cut corners every pixel of the edge is the border's: nothing shows through, and
        // no half-blended pixel tells of what is not there.
        painter.fillRect(rect(), theme.cardBorder);
        painter.setPen(Qt::NoPen);
        painter.setBrush(theme.card);
        painter.drawRoundedRect(QRectF(rect()).adjusted(1, 1, -1, -1), cardRadius - 1,
                                cardRadius - 1);
        painter.setPen(QPen(theme.cardBorder, 1));
    }
    if (form_->bodyArea->verticalScrollBar()->maximum() > 0) {
        const double y = form_->footerArea->y() - 0.5;
        painter.drawLine(QPointF(edge.left(), y), QPointF(edge.right(), y));
    }
}

void PromptWindow::applyTheme() {
    const QString style = scrollBarStyle(currentTheme());
    for (QScrollArea* area : {form_->bodyArea, form_->footerArea}) {
        if (area->verticalScrollBar()->styleSheet() != style) {
            area->verticalScrollBar()->setStyleSheet(style);
        }
    }
    update();
}

}  // namespace velunor
