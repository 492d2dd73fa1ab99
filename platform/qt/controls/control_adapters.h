#pragma once

#include <string>

#include "platform/controls.h"
#include "platform/qt/controls/widget_layer.h"
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

// The controls of a form as the logic sees them. Each stands for one widget, which must outlive it.
// Main thread only.

/// What every kind of control has in common.
template <class Interface>
class WidgetControl : public Interface {
  public:
    /// The kind of widget that it stands for.
    using Widget = QWidget;

    explicit WidgetControl(QWidget& widget) : widget_(widget) {}

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

  private:
    QWidget& widget_;
    WidgetLayer* layer_ = nullptr;
};

using QtView = WidgetControl<View>;
using QtStackView = WidgetControl<StackView>;

class QtLabel final : public WidgetControl<Label> {
  public:
    using Widget = TextLabel;

    explicit QtLabel(TextLabel& label) : WidgetControl(label), label_(label) {}
    void setStringValue(std::string_view text) override;
    void setAttributedStringValue(const AttributedString& text, Announcement announcement) override;
    [[nodiscard]] std::string stringValue() const override { return value_; }

  private:
    TextLabel& label_;
    std::string value_;
};

class QtEditableField final : public WidgetControl<EditableField> {
  public:
    using Widget = CustomTextField;

    explicit QtEditableField(CustomTextField& field);
    void setStringValue(std::string_view text) override;
    [[nodiscard]] std::string stringValue() const override;
    void setEditingEnded(std::function<void()> callback) override;

  private:
    CustomTextField& field_;
    std::function<void()> editingEnded_;
    std::string value_;
    /// How the field holds `value_`, to tell whether it was edited since.
    QString shown_;
};

class QtSecureField final : public WidgetControl<SecureField> {
  public:
    using Widget = CustomSecureTextField;

    explicit QtSecureField(CustomSecureTextField& field) : WidgetControl(field), field_(field) {}
    [[nodiscard]] Secret secretValue() const override { return field_.secret(); }
    void clear() override { field_.wipeText(); }

  private:
    CustomSecureTextField& field_;
};

class QtButton final : public WidgetControl<Button> {
  public:
    using Widget = TextButton;

    explicit QtButton(TextButton& button) : WidgetControl(button), button_(button) {}
    void setTitle(std::string_view title) override;
    [[nodiscard]] std::string title() const override { return title_; }
    /// Without effect: a form's button is always placed by its layout.
    void setTranslatesAutoresizingMask(bool translates) override;
    void activateWidthConstraint(double width) override;

  private:
    TextButton& button_;
    std::string title_;
};

class QtImageView final : public WidgetControl<ImageView> {
  public:
    using Widget = PictureView;

    explicit QtImageView(PictureView& view) : WidgetControl(view), view_(view) {}
    void setImage(ImagePointer image) override;

  private:
    PictureView& view_;
};

}  // namespace velunor
