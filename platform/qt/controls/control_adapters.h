#pragma once

#include <QVariantAnimation>
#include <string>

#include "platform/controls.h"
#include "platform/qt/password_field/secure_text_field.h"
#include "platform/qt/widgets/picture_view.h"
#include "platform/qt/widgets/text_button.h"
#include "platform/qt/widgets/text_fields.h"
#include "platform/qt/widgets/text_label.h"

namespace velunor {

/// Brings the layouts of `window` up to date with their contents, shown or not.
void settleLayouts(QWidget& window);

/// Where `widget` is in its window, with up-to-date layouts; y upwards from the lower edge.
[[nodiscard]] Rect frameInWindow(const QWidget& widget);

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
    /// Stands for a shake where less motion is asked for: a field's colour comes and goes once.
    void pulse();
    /// Moves the widget to `offset` points right of its place of rest.
    void moveBy(double offset);

    QWidget* widget_;
    QColor background_ = Qt::transparent;
    double radius_ = 0;
    QVariantAnimation animation_{this};
    QVariantAnimation pulse_{this};
    /// Where the widget is without animation, and where the animation has moved it.
    QPoint rest_;
    QPoint shifted_;
};

// A form's controls as the logic sees them, each for a widget that outlives it. Main thread only.

/// What every kind of control has in common; `WidgetType` is the kind of widget that it stands for.
template <class Interface, class WidgetType = QWidget>
class WidgetControl : public Interface {
  public:
    using Widget = WidgetType;

    explicit WidgetControl(Widget& widget) : widget_(widget) {}

    void setHidden(bool hidden) override { widget_.setHidden(hidden); }
    [[nodiscard]] Rect frame() const override { return frameInWindow(widget_); }
    void setWantsLayer(bool wants) override {
        if (wants && layer_ == nullptr) {
            layer_ = new WidgetLayer(&widget_);
        } else if (!wants) {
            delete layer_;
            layer_ = nullptr;
        }
    }
    [[nodiscard]] Layer* layer() override { return layer_; }

  protected:
    Widget& widget_;

  private:
    WidgetLayer* layer_ = nullptr;
};

class QtLabel final : public WidgetControl<Label, TextLabel> {
  public:
    using WidgetControl::WidgetControl;
    void setStringValue(std::string_view text) override;
    void setAttributedStringValue(const AttributedString& text, Announcement announcement) override;
    [[nodiscard]] std::string stringValue() const override { return value_; }

  private:
    std::string value_;
};

class QtEditableField final : public WidgetControl<EditableField, CustomTextField> {
  public:
    using WidgetControl::WidgetControl;
    void setStringValue(std::string_view text) override;
    [[nodiscard]] std::string stringValue() const override;
    void setEditingEnded(std::function<void()> callback) override;

  private:
    std::string value_;
    /// How the field holds `value_`, to tell whether it was edited since.
    QString shown_;
};

class QtSecureField final : public WidgetControl<SecureField, CustomSecureTextField> {
  public:
    using WidgetControl::WidgetControl;
    [[nodiscard]] Secret secretValue() const override { return widget_.secret(); }
    void clear() override { widget_.wipeText(); }
};

class QtButton final : public WidgetControl<Button, TextButton> {
  public:
    using WidgetControl::WidgetControl;
    void setTitle(std::string_view title) override;
    [[nodiscard]] std::string title() const override { return title_; }
    /// Without effect: a form's button is always placed by its layout.
    void setTranslatesAutoresizingMask(bool) override {}
    void activateWidthConstraint(double width) override;

  private:
    std::string title_;
};

class QtImageView final : public WidgetControl<ImageView, PictureView> {
  public:
    using WidgetControl::WidgetControl;
    void setImage(ImagePointer image) override;
};

}  // namespace velunor
