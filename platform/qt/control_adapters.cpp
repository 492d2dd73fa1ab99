#include "platform/qt/control_adapters.h"

#include <QVariantAnimation>
#include <algorithm>

#include "platform/qt/qt_image.h"
#include "platform/qt/theme.h"

namespace velunor {

namespace {

QString fromUtf8(std::string_view text) {
    return QString::fromUtf8(text.data(), static_cast<qsizetype>(text.size()));
}

/// The end of a styled range, moved past a surrogate pair that it would cut.
qsizetype wholeCharacters(const QString& text, qsizetype length) {
    length = std::clamp<qsizetype>(length, 0, text.size());
    const bool cutsPair = length > 0 && length < text.size() &&
                          text.at(length - 1).isHighSurrogate() && text.at(length).isLowSurrogate();
    return cutsPair ? length + 1 : length;
}

}  // namespace

void QtLayer::setBackgroundColor(const Color& color) {
    if (auto* view = qobject_cast<LayerView*>(&widget_)) {
        view->setLayerColor(
            QColor::fromRgbF(static_cast<float>(color.red), static_cast<float>(color.green),
                             static_cast<float>(color.blue), static_cast<float>(color.alpha)));
    }
}

void QtLayer::setCornerRadius(double radius) {
    if (auto* view = qobject_cast<LayerView*>(&widget_)) {
        view->setLayerCornerRadius(radius);
    }
}

void QtLayer::addAnimation(const KeyFrameAnimation& animation) {
    if (animation.translationsX.empty() || animation.repeatCount < 1) {
        return;
    }
    if (running_ == nullptr) {
        running_ = new QVariantAnimation(&widget_);
        QObject::connect(running_, &QVariantAnimation::valueChanged, &widget_,
                         [this](const QVariant& shift) {
                             widget_.move(restingPlace_ + QPoint(qRound(shift.toReal()), 0));
                         });
        QObject::connect(running_, &QVariantAnimation::finished, &widget_,
                         [this] { widget_.move(restingPlace_); });
    }
    if (running_->state() == QAbstractAnimation::Running) {
        running_->stop();
        widget_.move(restingPlace_);
    }
    restingPlace_ = widget_.pos();
    QVariantAnimation::KeyValues frames;
    const auto last =
        static_cast<qreal>(std::max<std::size_t>(animation.translationsX.size(), 2) - 1);
    const qreal span = animation.autoreverses ? 2 * last : last;
    for (std::size_t index = 0; index < animation.translationsX.size(); ++index) {
        const auto place = static_cast<qreal>(index);
        frames.append({place / span, animation.translationsX[index]});
        if (animation.autoreverses) {
            frames.append({1 - place / span, animation.translationsX[index]});
        }
    }
    std::sort(frames.begin(), frames.end(),
              [](const auto& left, const auto& right) { return left.first < right.first; });
    running_->setKeyValues(frames);
    const auto pass = static_cast<int>(animation.duration.count());
    running_->setDuration(animation.autoreverses ? 2 * pass : pass);
    running_->setLoopCount(animation.repeatCount);
    running_->start();
}

void QtLabel::setStringValue(std::string_view text) {
    widget().setLiteralText(fromUtf8(text));
}

void QtLabel::setAttributedStringValue(const AttributedString& text) {
    QString whole;
    QList<QTextLayout::FormatRange> formats;
    for (const TextRun& run : text) {
        const QString piece = fromUtf8(run.text);
        if (run.attributes) {
            QTextCharFormat format;
            QFont font = desktopFont(1, run.attributes->weight == FontWeight::bold);
            font.setPixelSize(qRound(run.attributes->pointSize * desktopTextScale()));
            format.setFont(font);
            format.setForeground(themeFor(widget().palette()).text);
            formats.append(
                {static_cast<int>(whole.size()),
                 static_cast<int>(wholeCharacters(piece, static_cast<qsizetype>(run.styledLength))),
                 format});
        }
        whole += piece;
    }
    widget().setLiteralText(whole, formats);
}

std::string QtLabel::stringValue() const {
    return widget().literalText().toStdString();
}

void QtTextField::setStringValue(std::string_view text) {
    widget().setText(fromUtf8(text));
}

std::string QtTextField::stringValue() const {
    return widget().text().toStdString();
}

void QtTextField::setEditingEnded(std::function<void()> callback) {
    QObject::connect(&widget(), &QLineEdit::editingFinished, &widget(), std::move(callback));
}

Secret QtSecureField::secretValue() const {
    QByteArray bytes = widget().text().toUtf8();
    Secret secret(std::string_view(bytes.constData(), static_cast<std::size_t>(bytes.size())));
    wipe(bytes.data(), static_cast<std::size_t>(bytes.size()));
    return secret;
}

void QtSecureField::clear() {
    widget().wipeAndClear();
}

void QtButton::setTitle(std::string_view title) {
    widget().setCaption(fromUtf8(title));
}

std::string QtButton::title() const {
    return widget().caption().toStdString();
}

void QtButton::setTranslatesAutoresizingMask(bool /*translates*/) {
    // Widgets in a layout have no resizing mask of their own that could stand against a constraint.
}

void QtButton::activateWidthConstraint(double width) {
    widget().setMinimumWidth(qCeil(width));
}

void QtImageView::setImage(ImagePointer image) {
    widget().setBitmap(bitmapOf(image));
}

std::string QtLayoutConstraint::identifier() const {
    return gap_.identifier().toStdString();
}

void QtLayoutConstraint::setPriority(int priority) {
    gap_.setPriority(priority);
}

}  // namespace velunor
