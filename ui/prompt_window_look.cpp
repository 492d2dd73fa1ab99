#include <QIcon>
#include <QPaintEvent>
#include <QPainter>
#include <QScrollArea>
#include <QScrollBar>

#include "platform/qt/application/run_loop.h"
#include "platform/qt/desktop/appearance.h"
#include "platform/qt/desktop/desktop_settings.h"
#include "platform/qt/widgets/picture_view.h"
#include "ui/hidden_hint.h"
#include "ui/keyboard_entrance.h"
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

void PromptWindow::paintEvent(QPaintEvent* event) {
    if (!pictured_) {
        pictured_ = true;
        // Drawing the icon and connecting to a bus take their time.
        afterPictureTimer_.start(0);
    }
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    const QRect withinCorners =
        rect().marginsRemoved({cardRadius, cardRadius, cardRadius, cardRadius});
    if (withinCorners.contains(event->rect())) {
        painter.fillRect(event->rect(), currentTheme().card);
    } else {
        drawCard(painter);
    }
    if (form_->bodyArea->verticalScrollBar()->maximum() > 0) {
        painter.setPen(QPen(currentTheme().cardBorder, currentTheme().line));
        const double y = form_->timerArea->y() - currentTheme().line / 2;
        painter.drawLine(QPointF(0.5, y), QPointF(width() - 0.5, y));
    }
}

void PromptWindow::drawCard(QPainter& painter) {
    const Theme& theme = currentTheme();
    const double inset = theme.line / 2;
    const QRectF edge = QRectF(rect()).adjusted(inset, inset, -inset, -inset);
    painter.setPen(QPen(theme.cardBorder, theme.line));
    if (mask().isEmpty()) {
        painter.setBrush(theme.card);
        painter.drawRoundedRect(edge, cardRadius, cardRadius);
    } else {
        // Along the cut corners every pixel of the edge is the border's: nothing shows through, and
        // no half-blended pixel tells of what is not there.
        painter.fillRect(rect(), theme.cardBorder);
        painter.setPen(Qt::NoPen);
        painter.setBrush(theme.card);
        painter.drawRoundedRect(
            QRectF(rect()).adjusted(theme.line, theme.line, -theme.line, -theme.line),
            cardRadius - theme.line, cardRadius - theme.line);
    }
}

void PromptWindow::afterFirstPicture() {
    entrance_->openSoon();
    showOnEveryWorkspace(*this);
    if (QGuiApplication::windowIcon().isNull()) {
        constexpr int iconSide = 128;
        QGuiApplication::setWindowIcon(
            QIcon(vectorPicture(":/icons/velunor-os-update.picture", iconSide)));
    }
    if (hasSessionBus()) {
        settings_ = followDesktopSettings(QDBusConnection::sessionBus());
        hiddenHint_ = new HiddenHint(*this, *form_, *entrance_, hiddenText_);
    }
    releaseFreeMemory();
}

void PromptWindow::styleScrollBars() {
    const QString style = scrollBarStyle(currentTheme());
    for (QScrollArea* area : areas()) {
        QScrollBar& bar = *area->verticalScrollBar();
        // The toolkit's style sheets take their time, and most windows have no scroll bar.
        if (area->verticalScrollBarPolicy() == Qt::ScrollBarAlwaysOn && bar.styleSheet() != style) {
            bar.setStyleSheet(style);
        }
    }
}

}  // namespace velunor
