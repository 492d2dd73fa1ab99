#include "platform/qt/controls/control_adapters.h"

#include <QCoreApplication>
#include <QEvent>
#include <QLayout>
#include <algorithm>
#include <cmath>

#include "platform/qt/application/image_reader.h"
#include "platform/qt/desktop/appearance.h"
#include "platform/qt/desktop/desktop_settings.h"

namespace velunor {

void settleLayouts(QWidget& window) {
    const QList<QLayout*> layouts = window.findChildren<QLayout*>();
    if (!window.isVisible()) {
        // The requests for a new layout are still on their way, and wait for the window to show.
        for (QLayout* layout : layouts) {
            layout->invalidate();
        }
    }
    for (QLayout* layout : layouts) {
        // What is not shown would load fonts and measure texts for nothing.
        if (layout->parentWidget()->isVisibleTo(&window)) {
            layout->activate();
        }
    }
}

Rect frameInWindow(const QWidget& widget) {
    QWidget& window = *widget.window();
    if (!window.isVisible()) {
        // Layouts wait until the window is shown, unless they are asked.
        QEvent request(QEvent::LayoutRequest);
        QCoreApplication::sendEvent(&window, &request);
        settleLayouts(window);
    }
    const QPoint place = widget.mapTo(&window, QPoint(0, 0));
    return {{static_cast<double>(place.x()),
             static_cast<double>(window.height() - place.y() - widget.height())},
            {static_cast<double>(widget.width()), static_cast<double>(widget.height())}};
}

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
    constexpr int pulseMilliseconds = 1500;
    pulse_.stop();
    pulse_.setKeyValues({{0.0, 0.0}, {0.2, 1.0}, {0.6, 1.0}, {1.0, 0.0}});
    pulse_.setDuration(pulseMilliseconds);
    pulse_.start();
}

bool WidgetLayer::eventFilter(QObject* watched, QEvent* event) {
    if (event->type() == QEvent::Paint) {
        QPainter painter(widget_);
        drawRounded(painter, widget_->rect(), radius_, background_);
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

void QtLabel::setStringValue(std::string_view text) {
    value_ = text;
    widget_.setText({QString::fromUtf8(text), {}});
}

void QtLabel::setAttributedStringValue(const AttributedString& text, Announcement announcement) {
    value_ = plainText(text);
    widget_.setText(shownText(text), announcement);
}

void QtEditableField::setStringValue(std::string_view text) {
    value_ = text;
    widget_.setText(QString::fromUtf8(text));
    shown_ = widget_.text();
}

std::string QtEditableField::stringValue() const {
    const QString present = widget_.text();
    return present == shown_ ? value_ : present.toStdString();
}

void QtEditableField::setEditingEnded(std::function<void()> callback) {
    QObject::disconnect(&widget_, &CustomTextField::editingEnded, nullptr, nullptr);
    QObject::connect(&widget_, &CustomTextField::editingEnded, &widget_, std::move(callback));
}

void QtButton::setTitle(std::string_view title) {
    title_ = title;
    widget_.setLiteralText(QString::fromUtf8(title));
}

void QtButton::activateWidthConstraint(double width) {
    widget_.setLeastWidth(static_cast<int>(std::ceil(width)));
}

void QtImageView::setImage(ImagePointer image) {
    widget_.setImage(bitmapOf(image));
}

}  // namespace velunor
