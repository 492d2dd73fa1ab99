#include "platform/qt/password_field/secret_drawing.h"

#include <QFontMetricsF>
#include <QString>
#include <algorithm>
#include <vector>

namespace velunor {

namespace {

constexpr char32_t zeroWidthJoiner = 0x200D;

/// Length of the character at the start of `text` with the marks that belong to it.
std::size_t clusterLength(std::u32string_view text) {
    std::size_t length = 1;
    while (length < text.size()) {
        const QChar::Category category = QChar::category(text[length]);
        const bool mark = category == QChar::Mark_NonSpacing ||
                          category == QChar::Mark_SpacingCombining ||
                          category == QChar::Mark_Enclosing;
        if (!mark && text[length] != zeroWidthJoiner && text[length - 1] != zeroWidthJoiner) {
            break;
        }
        ++length;
    }
    return length;
}

template <class Use>
void forEachCluster(std::u32string_view text, Use use) {
    for (std::size_t at = 0; at < text.size();) {
        const std::size_t count = clusterLength(text.substr(at));
        use(at, QString::fromUcs4(text.data() + at, static_cast<qsizetype>(count)));
        at += count;
    }
}

}  // namespace

void drawSecret(QPainter& painter, const QRect& area, std::u32string_view text, std::size_t caret) {
    const QFontMetricsF metrics(painter.font());
    std::vector<double> starts;
    double end = 0;
    double caretAt = 0;
    forEachCluster(text, [&](std::size_t at, const QString& cluster) {
        starts.push_back(end);
        end += metrics.horizontalAdvance(cluster);
        caretAt = at < caret ? end : caretAt;
    });
    const double room = area.width();
    double left = area.left() - std::clamp(caretAt - room, 0.0, std::max(0.0, end - room));
    if (painter.layoutDirection() == Qt::RightToLeft && end < room) {
        left = area.left() + room - end;
    }
    const double baseline = area.top() + (area.height() - metrics.height()) / 2 + metrics.ascent();
    painter.save();
    painter.setClipRect(area);
    std::size_t index = 0;
    forEachCluster(text, [&](std::size_t, const QString& cluster) {
        painter.drawText(QPointF(left + starts[index++], baseline), cluster);
    });
    painter.restore();
}

}  // namespace velunor
