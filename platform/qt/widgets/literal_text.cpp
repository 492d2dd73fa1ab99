#include "platform/qt/widgets/literal_text.h"

#include <QFontInfo>
#include <QFontMetricsF>
#include <QGuiApplication>
#include <QRegularExpression>
#include <QTextBoundaryFinder>
#include <QTextOption>
#include <algorithm>
#include <array>
#include <cmath>

namespace velunor {
namespace {

/// Wider than any line, and still within the layout's fixed-point numbers.
constexpr qreal unlimitedWidth = 1 << 24;
/// Extra room between lines, as a part of a line's height.
constexpr qreal extraLeading = 0.12;

QList<QTextLayout::FormatRange> formatsWithin(const QList<QTextLayout::FormatRange>& formats,
                                              qsizetype start, qsizetype end) {
    QList<QTextLayout::FormatRange> within;
    for (const QTextLayout::FormatRange& range : formats) {
        const qsizetype first = std::max<qsizetype>(range.start, start);
        const qsizetype last = std::min<qsizetype>(range.start + range.length, end);
        if (first < last) {
            within.append(
                {static_cast<int>(first - start), static_cast<int>(last - first), range.format});
        }
    }
    return within;
}

/// Widths of the ten digits in the place of the figure in `range`: beside letters of some scripts a
/// font takes other shapes than for a digit that stands alone.
std::array<qreal, 10> digitWidths(const QString& text, const QTextLayout::FormatRange& range,
                                  const QFont& base) {
    std::array<qreal, 10> widths{};
    QTextLayout::FormatRange single{range.start, 1, range.format};
    single.format.setFontKerning(false);
    QString sample = text;
    for (std::size_t digit = 0; digit < widths.size(); ++digit) {
        sample[range.start] = QChar(u'0' + static_cast<char16_t>(digit));
        QTextLayout layout(sample, base);
        layout.setFormats({single});
        layout.beginLayout();
        QTextLine line = layout.createLine();
        line.setLineWidth(unlimitedWidth);
        layout.endLayout();
        widths.at(digit) = std::abs(line.cursorToX(range.start + 1) - line.cursorToX(range.start));
    }
    return widths;
}

/// The format for each digit of the number in `range`, spaced so that all digits of the font are
/// equally wide: a figure that counts must not make the text beside it tremble.
void appendFigures(const QString& text, const QTextLayout::FormatRange& range, const QFont& base,
                   QList<QTextLayout::FormatRange>& formats) {
    const std::array<qreal, 10> widths = digitWidths(text, range, base);
    const qreal widest = *std::max_element(widths.begin(), widths.end());
    for (int index = range.start; index < range.start + range.length; ++index) {
        QTextLayout::FormatRange single{index, 1, range.format};
        single.format.setFontKerning(false);
        single.format.setFontLetterSpacingType(QFont::AbsoluteSpacing);
        const auto digit = static_cast<std::size_t>(text.at(index).digitValue());
        single.format.setFontLetterSpacing(widest - widths.at(digit));
        formats.append(single);
    }
}

bool isNumber(QStringView text) {
    return !text.isEmpty() && std::all_of(text.begin(), text.end(),
                                          [](QChar unit) { return unit >= u'0' && unit <= u'9'; });
}

/// A styled run's size beside the desktop's own font: the sizes are meant for a desktop whose text
/// has 13 points, and grow with the text of one that has more.
double sizeBesideDesktopFont(double pointSize) {
    constexpr double usualPointSize = 13;
    return QFontInfo(QGuiApplication::font()).pointSizeF() * pointSize / usualPointSize;
}

}  // namespace

ShownText shownText(const AttributedString& styled) {
    ShownText shown;
    for (const TextRun& run : styled) {
        const QString text = QString::fromStdString(run.text);
        auto styledUnits = static_cast<qsizetype>(
            std::min(run.styledLength, static_cast<std::size_t>(text.size())));
        if (styledUnits < text.size() && text.at(styledUnits).isLowSurrogate()) {
            ++styledUnits;
        }
        if (run.attributes && styledUnits > 0) {
            // The standard text colour is the label's own, so the format says nothing about it.
            QTextCharFormat format;
            format.setFontWeight(run.attributes->weight == FontWeight::bold ? QFont::Bold
                                                                            : QFont::Normal);
            format.setFontPointSize(sizeBesideDesktopFont(run.attributes->pointSize));
            shown.formats.append(
                {static_cast<int>(shown.text.size()), static_cast<int>(styledUnits), format});
        }
        shown.text += text;
    }
    return shown;
}

void LiteralText::setText(const ShownText& shown, qsizetype hangingUnits) {
    shown_ = shown;
    hangingUnits_ = hangingUnits;
    rebuild();
}

void LiteralText::setFont(const QFont& font, Qt::LayoutDirection direction) {
    font_ = font;
    direction_ = direction;
    rebuild();
}

void LiteralText::rebuild() {
    static const QRegularExpression lineBreak(R"(\r\n|[\n\r\x{2028}\x{2029}])");
    const QString& text = shown_.text;
    QList<QTextLayout::FormatRange> formats;
    for (const QTextLayout::FormatRange& range : shown_.formats) {
        if (isNumber(QStringView(text).sliced(range.start, range.length))) {
            appendFigures(text, range, font_, formats);
        } else {
            formats.append(range);
        }
    }
    paragraphs_.clear();
    qsizetype start = 0;
    for (const QRegularExpressionMatch& match : lineBreak.globalMatch(text)) {
        addParagraph(start, match.capturedStart(), formats);
        start = match.capturedEnd();
    }
    addParagraph(start, text.size(), formats);

    laidOutWidth_ = -1;
    naturalWidth_ = usedWidth(unlimitedWidth);
}

int LiteralText::usedWidth(double width) const {
    layOut(width);
    qreal widest = 0;
    for (const auto& paragraph : paragraphs_) {
        for (int index = 0; index < paragraph->lineCount(); ++index) {
            widest = std::max(widest, paragraph->lineAt(index).naturalTextWidth());
        }
    }
    return static_cast<int>(std::ceil(widest));
}

void LiteralText::addParagraph(qsizetype start, qsizetype end,
                               const QList<QTextLayout::FormatRange>& formats) {
    QString text = shown_.text.sliced(start, end - start);
    bool rightToLeft = text.isRightToLeft();
    if (hangingUnits_ > 0) {
        // What hangs keeps its own direction, and the bullet stands where the layout's lines begin.
        constexpr QChar firstStrongIsolate(0x2068);
        text.insert(start == 0 ? hangingUnits_ : 0, firstStrongIsolate);
        rightToLeft = direction_ == Qt::RightToLeft;
    }
    QTextOption option;
    option.setWrapMode(QTextOption::WrapAtWordBoundaryOrAnywhere);
    option.setTextDirection(rightToLeft ? Qt::RightToLeft : Qt::LeftToRight);
    option.setAlignment(rightToLeft || direction_ == Qt::RightToLeft ? Qt::AlignRight
                                                                     : Qt::AlignLeft);
    if (centered_) {
        option.setAlignment(Qt::AlignHCenter);
    }
    auto layout = std::make_unique<QTextLayout>(text, font_);
    layout->setTextOption(option);
    layout->setCacheEnabled(true);
    layout->setFormats(formatsWithin(formats, start, end));
    paragraphs_.push_back(std::move(layout));
}

qreal LiteralText::layOut(qreal width) const {
    if (width == laidOutWidth_) {
        return laidOutHeight_;
    }
    // A script whose letters another font has to lend keeps the rhythm of the text's own font.
    const QFontMetricsF own(font_);
    const qreal indent = own.horizontalAdvance(shown_.text.left(hangingUnits_));
    qreal y = 0;
    bool first = true;
    for (const auto& layout : paragraphs_) {
        const bool fromLeft = layout->textOption().textDirection() == Qt::LeftToRight;
        layout->beginLayout();
        for (QTextLine line = layout->createLine(); line.isValid(); line = layout->createLine()) {
            const qreal before = first ? 0 : std::min(indent, width / 2);
            line.setLineWidth(width - before);
            y += first ? 0 : std::round(line.height() * extraLeading);
            const qreal above = std::max(0.0, own.ascent() - line.ascent());
            const qreal below = std::max(0.0, own.descent() - line.descent());
            line.setPosition(QPointF(fromLeft ? before : 0, y + above));
            y += above + line.height() + below;
            first = false;
        }
        layout->endLayout();
    }
    laidOutWidth_ = width;
    laidOutHeight_ = std::max(y, own.height());
    return laidOutHeight_;
}

int LiteralText::widestWord() const {
    const QFontMetricsF metrics(font_);
    QTextBoundaryFinder finder(QTextBoundaryFinder::Line, shown_.text);
    qreal widest = 0;
    for (qsizetype start = 0, end = finder.toNextBoundary(); end >= 0;
         start = end, end = finder.toNextBoundary()) {
        const QString word = shown_.text.mid(start, end - start).trimmed();
        widest = std::max(widest, metrics.horizontalAdvance(word));
    }
    return static_cast<int>(std::ceil(widest));
}

int LiteralText::heightForWidth(int width) const {
    return static_cast<int>(std::ceil(layOut(std::max(width, 1))));
}

void LiteralText::draw(QPainter& painter, const QRect& area, const QColor& color) const {
    layOut(std::max(area.width(), 1));
    painter.setPen(color);
    for (const auto& layout : paragraphs_) {
        layout->draw(&painter, area.topLeft());
    }
}

}  // namespace velunor
