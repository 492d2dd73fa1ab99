#pragma once

#include <memory>

#include "platform/controls.h"
#include "platform/qt/panel_widgets.h"
#include "platform/qt/picture_view.h"
#include "platform/qt/text_button.h"
#include "platform/qt/text_fields.h"
#include "platform/qt/text_label.h"

class QVariantAnimation;

namespace velunor {

// The controls of the logic over real widgets. The widgets belong to the window and outlive their
// adapters. Main thread only.

/// What a layer does to a widget: shapes for a LayerView, animations for any.
class QtLayer : public Layer {
  public:
    explicit QtLayer(QWidget& widget) : widget_(widget) {}
    void setBackgroundColor(const Color& color) override;
    void setCornerRadius(double radius) override;
    void addAnimation(const KeyFrameAnimation& animation) override;

  private:
    QWidget& widget_;
    QVariantAnimation* running_ = nullptr;
    QPoint restingPlace_;
};

/// The part that all kinds share.
template <class Kind, class WidgetType>
class QtView : public Kind {
  public:
    explicit QtView(WidgetType& widget) : widget_(widget), layer_(widget) {}

    void setHidden(bool hidden) override { widget_.setHidden(hidden); }

    [[nodiscard]] Rect frame() const override {
        // Before the first layout a control has the size that it asks for.
        const bool laidOut = widget_.testAttribute(Qt::WA_Resized) || widget_.isVisible();
        const QSize size = laidOut ? widget_.size() : widget_.sizeHint();
        return {{static_cast<double>(widget_.x()), static_cast<double>(widget_.y())},
                {static_cast<double>(size.width()), static_cast<double>(size.height())}};
    }

    void setWantsLayer(bool /*wants*/) override {}
    [[nodiscard]] Layer* layer() override { return &layer_; }

  protected:
    [[nodiscard]] WidgetType& widget() const { return widget_; }

  private:
    WidgetType& widget_;
    QtLayer layer_;
};

using QtPlainView = QtView<View, QWidget>;
using QtStackView = QtView<StackView, QWidget>;

class QtLabel : public QtView<Label, TextLabel> {
  public:
    using QtView::QtView;
    void setStringValue(std::string_view text) override;
    void setAttributedStringValue(const AttributedString& text) override;
    [[nodiscard]] std::string stringValue() const override;
};

class QtTextField : public QtView<EditableField, CustomTextField> {
  public:
    using QtView::QtView;
    void setStringValue(std::string_view text) override;
    [[nodiscard]] std::string stringValue() const override;
    void setEditingEnded(std::function<void()> callback) override;
};

class QtSecureField : public QtView<SecureField, CustomSecureTextField> {
  public:
    using QtView::QtView;
    [[nodiscard]] Secret secretValue() const override;
    void clear() override;
};

class QtButton : public QtView<Button, TextButton> {
  public:
    using QtView::QtView;
    void setTitle(std::string_view title) override;
    [[nodiscard]] std::string title() const override;
    void setTranslatesAutoresizingMask(bool translates) override;
    void activateWidthConstraint(double width) override;
};

class QtImageView : public QtView<ImageView, PictureView> {
  public:
    using QtView::QtView;
    void setImage(ImagePointer image) override;
};

class QtLayoutConstraint : public LayoutConstraint {
  public:
    explicit QtLayoutConstraint(ConstraintGap& gap) : gap_(gap) {}
    [[nodiscard]] std::string identifier() const override;
    void setPriority(int priority) override;

  private:
    ConstraintGap& gap_;
};

}  // namespace velunor
