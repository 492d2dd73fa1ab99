#include "platform/qt/controls/widget_layer.h"

#include <QEvent>
#include <QPainter>
#include <algorithm>
#include <chrono>

#include "platform/qt/desktop/desktop_settings.h"
#include "platform/qt/widgets/text_fields.h"

namespace velunor {

namespace {
constexpr std::chrono::milliseconds pulseDuration{1500};
}  // namespace

WidgetLayer::WidgetLayer(QWidget* widget) : QObject(widget), widget_(widget) {
    widget_->installEventFilter(this);
    connect(&animation_, &QVariantAnimation::valueChanged, this,
            [this](const QVariant& offset) { moveBy(offset.toDouble()); });
    connect(&animation_, &QVariantAnimation::finished, this, [this] { moveBy(0); });
    connect(&pulse_, &QVariantAnimation::valueChanged, this, [this](const QVariant& strength) {
        if (auto* field = qobject_cast<RoundedField*>(widget_)) {
            field->setRefusal(strength.toDouble());
        }
    });
}

void WidgetLayer::setBackgroundColor(const Color& color) {
    background_ = QColor::fromRgbF(static_cast<float>(color.red), static_cast<float>(color.green),
                                   static_cast<float>(color.blue), static_cast<float>(color.alpha));
    widget_->update();
}

void WidgetLayer::setCornerRadius(double radius) {
    radius_ = radius;
    widget_->update();
}

void WidgetLayer::addAnimation(const KeyFrameAnimation& animation) {
    if (animation_.state() == QAbstractAnimation::Running) {
        animation_.stop();
        moveBy(0);
    }
    if (animation.translationsX.empty()) {
        return;
    }
    if (isMotionReduced(*widget_)) {
        pulse();
    } else {
        shake(animation);
    }
    emit animationStarted();
}

void WidgetLayer::shake(const KeyFrameAnimation& animation) {
    rest_ = widget_->pos();
    shifted_ = rest_;
    // One loop is a pass and, when the animation reverses, the way back.
    const std::vector<double>& offsets = animation.translationsX;
    const double last = offsets.size() > 1 ? static_cast<double>(offsets.size() - 1) : 1.0;
    const double share = animation.autoreverses ? 0.5 : 1.0;
    QVariantAnimation::KeyValues frames;
    for (std::size_t index = 0; index < offsets.size(); ++index) {
        const double step = share * static_cast<double>(index) / last;
        frames.append({step, offsets[index]});
        if (animation.autoreverses) {
            frames.append({1.0 - step, offsets[index]});
        }
    }
    animation_.setKeyValues(frames);
    animation_.setDuration(static_cast<int>(animation.duration.count()) *
                           (animation.autoreverses ? 2 : 1));
    animation_.setLoopCount(std::max(animation.repeatCount, 1));
    animation_.start();
}

void WidgetLayer::pulse() {
    pulse_.stop();
    pulse_.setKeyValues({{0.0, 0.0}, {0.2, 1.0}, {0.6, 1.0}, {1.0, 0.0}});
    pulse_.setDuration(static_cast<int>(pulseDuration.count()));
    pulse_.start();
}

bool WidgetLayer::eventFilter(QObject* watched, QEvent* event) {
    if (event->type() == QEvent::Paint && background_.alpha() > 0) {
        QPainter painter(widget_);
        painter.setRenderHint(QPainter::Antialiasing);
        painter.setPen(Qt::NoPen);
        painter.setBrush(background_);
        painter.drawRoundedRect(widget_->rect(), radius_, radius_);
    }
    return QObject::eventFilter(watched, event);
}

void WidgetLayer::moveBy(double offset) {
    if (widget_->pos() != shifted_) {
        // The layout has put the widget to a new place of rest meanwhile.
        rest_ = widget_->pos();
    }
    shifted_ = rest_ + QPoint(qRound(offset), 0);
    widget_->move(shifted_);
}

}  // namespace velunor
