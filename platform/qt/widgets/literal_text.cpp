#include "platform/qt/widgets/literal_text.h"

#include <QFontMetricsF>
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

bool isNumber(QStringView text) {
    return !text.isEmpty() && std::all_of(text.begin(), text.end(),
                                          [](QChar unit) { return unit >= u'0' && unit <= u'9'; });
}

/// Figures of `shown`: the styled parts of it that are numbers.
QList<QTextLayout::FormatRange> figuresOf(const ShownText& shown) {
    QList<QTextLayout::FormatRange> figures;
    for (const QTextLayout::FormatRange& range : shown.formats) {
        const QStringView part = QStringView(shown.text).sliced(range.start, range.length);
        if (isNumber(part)) {
            figures.append(range);
        }
    }
    return figures;
}

/// The format of a single digit at `index`, which its neighbours do not move.
QTextLayout::FormatRange digitFormat(qsizetype index, const QTextCharFormat& figure) {
    QTextLayout::FormatRange single{static_cast<int>(index), 1, figure};
    single.format.setFontKerning(false);
    return single;
}

/// Widths of the ten digits in the place of each of `figures`: beside letters of some scripts a
/// font takes other shapes than for a digit that stands alone.
std::vector<std::array<qreal, 10>> digitWidths(QString text,
                                               const QList<QTextLayout::FormatRange>& figures,
                                               const QFont& font) {
    // The first and the last are not measured: where they meet a text that runs the other way, a
    // cursor's place is far from their edges.
    static const QString digits = QStringLiteral("001234567890");
    QList<QTextLayout::FormatRange> formats;
    qsizetype shift = 0;
    std::vector<qsizetype> starts;
    for (const QTextLayout::FormatRange& figure : figures) {
        const qsizetype start = figure.start + shift;
        text.replace(start, figure.length, digits);
        shift += digits.size() - figure.length;
        starts.push_back(start);
        for (qsizetype digit = 0; digit < digits.size(); ++digit) {
            formats.append(digitFormat(start + digit, figure.format));
        }
    }
    QTextLayout layout(text, font);
    layout.setFormats(formats);
    layout.beginLayout();
    QTextLine line = layout.createLine();
    line.setLineWidth(unlimitedWidth);
    layout.endLayout();
    std::vector<std::array<qreal, 10>> widths(starts.size());
    for (std::size_t figure = 0; figure < starts.size(); ++figure) {
        int place = static_cast<int>(starts[figure]) + 1;
        qreal begin = line.cursorToX(place);
        for (qreal& width : widths[figure]) {
            const qreal end = line.cursorToX(++place);
            width = end - begin;
            begin = end;
        }
    }
    return widths;
}

}  // namespace

void LiteralText::setText(ShownText shown, qsizetype hangingUnits) {
    shown_ = std::move(shown);
    hangingUnits_ = hangingUnits;
    forget();
}

void LiteralText::setFont(const QFont& font, Qt::LayoutDirection direction) {
    font_ = font;
    direction_ = direction;
    figuresText_.clear();
    forget();
}

void LiteralText::forget() {
    paragraphs_.clear();
    measures_.clear();
    widestWord_.reset();
    brokenWidth_ = -1;
}

QList<QTextLayout::FormatRange> LiteralText::steadyFormats() const {
    const QList<QTextLayout::FormatRange> figures = figuresOf(shown_);
    if (figures.isEmpty()) {
        return shown_.formats;
    }
    QString masked = shown_.text;
    for (const QTextLayout::FormatRange& figure : figures) {
        masked.replace(figure.start, figure.length, QString(figure.length, u'0'));
    }
    if (masked != figuresText_ || figures.size() != static_cast<qsizetype>(digitWidths_.size())) {
        digitWidths_ = digitWidths(shown_.text, figures, font_);
        figuresText_ = masked;
    }
    QList<QTextLayout::FormatRange> formats;
    std::size_t figure = 0;
    for (const QTextLayout::FormatRange& range : shown_.formats) {
        if (!isNumber(QStringView(shown_.text).sliced(range.start, range.length))) {
            formats.append(range);
            continue;
        }
        const std::array<qreal, 10>& widths = digitWidths_.at(figure);
        ++figure;
        const qreal widest = *std::max_element(widths.begin(), widths.end());
        for (int index = range.start; index < range.start + range.length; ++index) {
            QTextLayout::FormatRange single = digitFormat(index, range.format);
            single.format.setFontLetterSpacingType(QFont::AbsoluteSpacing);
            const auto digit = static_cast<std::size_t>(shown_.text.at(index).digitValue());
            single.format.setFontLetterSpacing(widest - widths.at(digit));
            formats.append(single);
        }
    }
    return formats;
}

void LiteralText::shape() const {
    if (!paragraphs_.empty()) {
        return;
    }
    const QList<QTextLayout::FormatRange> formats = steadyFormats();
    const QString& text = shown_.text;
    qsizetype start = 0;
    for (qsizetype index = 0; index < text.size();) {
        const qsizetype length = lineBreakAt(text, index);
        if (length > 0) {
            addParagraph(start, index, formats);
            start = index + length;
        }
        index += std::max<qsizetype>(length, 1);
    }
    addParagraph(start, text.size(), formats);
}

void LiteralText::addParagraph(qsizetype start, qsizetype end,
                               const QList<QTextLayout::FormatRange>& formats) const {
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
    // Never ended, and begun but once: a beginning throws away the shapes that all widths share.
    layout->beginLayout();
    paragraphs_.push_back(std::move(layout));
}

void LiteralText::breakLines(qreal width) const {
    shape();
    if (width == brokenWidth_) {
        return;
    }
    // A script whose letters another font has to lend keeps the rhythm of the text's own font.
    const QFontMetricsF own(font_);
    const qreal indent = own.horizontalAdvance(shown_.text.left(hangingUnits_));
    Measure measure{width, 0, 0};
    bool first = true;
    for (const auto& layout : paragraphs_) {
        const bool fromLeft = layout->textOption().textDirection() == Qt::LeftToRight;
        layout->clearLayout();
        for (QTextLine line = layout->createLine(); line.isValid(); line = layout->createLine()) {
            const qreal before = first ? 0 : std::min(indent, width / 2);
            line.setLineWidth(width - before);
            measure.height += first ? 0 : std::round(line.height() * extraLeading);
            const qreal above = std::max(0.0, own.ascent() - line.ascent());
            const qreal below = std::max(0.0, own.descent() - line.descent());
            line.setPosition(QPointF(fromLeft ? before : 0, measure.height + above));
            measure.height += above + line.height() + below;
            measure.longestLine = std::max(measure.longestLine, line.naturalTextWidth());
            first = false;
        }
    }
    brokenWidth_ = width;
    measure.height = std::max(measure.height, own.height());
    if (knownMeasure(width) == nullptr) {
        measures_.push_back(measure);
    }
}

const LiteralText::Measure* LiteralText::knownMeasure(qreal width) const {
    const auto known = std::ranges::find(measures_, width, &Measure::width);
    return known == measures_.end() ? nullptr : &*known;
}

LiteralText::Measure LiteralText::measureAt(qreal width) const {
    if (const Measure* known = knownMeasure(width)) {
        return *known;
    }
    if (shown_.text.isEmpty()) {
        return {width, QFontMetricsF(font_).height(), 0};
    }
    breakLines(width);
    return measures_.back();
}

int LiteralText::naturalWidth() const {
    return usedWidth(unlimitedWidth);
}

int LiteralText::usedWidth(double width) const {
    return shown_.text.isEmpty() ? 0 : static_cast<int>(std::ceil(measureAt(width).longestLine));
}

int LiteralText::widestWord() const {
    if (!widestWord_) {
        const QFontMetricsF metrics(font_);
        QTextBoundaryFinder finder(QTextBoundaryFinder::Line, shown_.text);
        qreal widest = 0;
        for (qsizetype start = 0, end = finder.toNextBoundary(); end >= 0;
             start = end, end = finder.toNextBoundary()) {
            const QString word = shown_.text.mid(start, end - start).trimmed();
            widest = std::max(widest, metrics.horizontalAdvance(word));
        }
        widestWord_ = static_cast<int>(std::ceil(widest));
    }
    return *widestWord_;
}

int LiteralText::heightForWidth(int width) const {
    return static_cast<int>(std::ceil(measureAt(std::max(width, 1)).height));
}

void LiteralText::draw(QPainter& painter, const QRect& area, const QColor& color) const {
    breakLines(std::max(area.width(), 1));
    painter.setPen(color);
    const QRectF seen = painter.hasClipping() ? painter.clipBoundingRect() : QRectF();
    for (const auto& layout : paragraphs_) {
        layout->draw(&painter, area.topLeft(), {}, seen);
    }
}

}  // namespace velunor
