#pragma once

#include <QColor>
#include <QObject>
#include <QVariantAnimation>
#include <QWidget>

#include "platform/controls.h"

namespace velunor {

/// The backing layer of a widget: a coloured ground that is painted beneath what the widget paints
/// itself, and animations of the widget's place in its layout. Main thread only.
class WidgetLayer final : public QObject, public Layer {
    Q_OBJECT

  public:
    /// `widget` owns the layer.
    explicit WidgetLayer(QWidget* widget);

    void setBackgroundColor(const Color& color) override;
    void setCornerRadius(double radius) override;
    void addAnimation(const KeyFrameAnimation& animation) override;

    bool eventFilter(QObject* watched, QEvent* event) override;

  signals:
    void animationStarted();

  private:
    void shake(const KeyFrameAnimation& animation);
    /// What stands for a shake where the desktop asks for less motion: the colour of a field comes
    /// and goes once.
    void pulse();
    /// Moves the widget to `offset` points right of its place of rest.
    void moveBy(double offset);

    QWidget* widget_;
    QColor background_ = Qt::transparent;
    double radius_ = 0;
    QVariantAnimation animation_;
    QVariantAnimation pulse_;
    /// Where the widget is without animation, and where the animation has moved it.
    QPoint rest_;
    QPoint shifted_;
};

}  // namespace velunor
