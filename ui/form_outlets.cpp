#include "ui/form_outlets.h"

#include <type_traits>

#include "platform/qt/controls/control_adapters.h"
#include "ui/form_views.h"

namespace velunor {

namespace {

/// The widget that stands for a control's kind in the form.
template <class Control>
struct FormKind;

template <>
struct FormKind<View> {
    using Adapter = QtView;
    using Widget = QWidget;
};
template <>
struct FormKind<StackView> {
    using Adapter = QtStackView;
    using Widget = QWidget;
};
template <>
struct FormKind<Label> {
    using Adapter = QtLabel;
    using Widget = TextLabel;
};
template <>
struct FormKind<EditableField> {
    using Adapter = QtEditableField;
    using Widget = CustomTextField;
};
template <>
struct FormKind<SecureField> {
    using Adapter = QtSecureField;
    using Widget = CustomSecureTextField;
};
template <>
struct FormKind<Button> {
    using Adapter = QtButton;
    using Widget = TextButton;
};
template <>
struct FormKind<ImageView> {
    using Adapter = QtImageView;
    using Widget = PictureView;
};

}  // namespace

void connectOutlets(QWidget& form, PromptView& view, std::vector<std::shared_ptr<void>>& controls) {
    const auto connectOutlet = [&]<class Control>(const char* name,
                                                  WeakReference<Control>& outlet) {
        if constexpr (std::is_same_v<Control, LayoutConstraint>) {
            outlet.connect(form.findChild<ConstraintSpacer*>(QLatin1String(name)));
        } else {
            using Kind = FormKind<Control>;
            if (auto* widget = form.findChild<typename Kind::Widget*>(QLatin1String(name))) {
                const auto adapter = std::make_shared<typename Kind::Adapter>(*widget);
                controls.push_back(adapter);
                outlet.connect(adapter.get());
            }
        }
    };
    forEachOutlet(view.outlets, connectOutlet);
    for (ConstraintSpacer* constraint : form.findChildren<ConstraintSpacer*>()) {
        view.constraints.push_back(constraint);
    }
    // The shake needs a layer from the start, as every view of a layered window has one.
    view.outlets.passwordTextFiled->setWantsLayer(true);
}

}  // namespace velunor
