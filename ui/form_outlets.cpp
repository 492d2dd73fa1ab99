#include "ui/form_outlets.h"

#include <type_traits>
#include <utility>

#include "platform/qt/controls/control_adapters.h"
#include "ui/form_views.h"

namespace velunor {

namespace {

/// What stands for a control's kind in the form.
template <class Control>
struct AdapterOf;
template <>
struct AdapterOf<View> : std::type_identity<QtView> {};
template <>
struct AdapterOf<StackView> : std::type_identity<QtStackView> {};
template <>
struct AdapterOf<Label> : std::type_identity<QtLabel> {};
template <>
struct AdapterOf<EditableField> : std::type_identity<QtEditableField> {};
template <>
struct AdapterOf<SecureField> : std::type_identity<QtSecureField> {};
template <>
struct AdapterOf<Button> : std::type_identity<QtButton> {};
template <>
struct AdapterOf<ImageView> : std::type_identity<QtImageView> {};

}  // namespace

std::vector<std::unique_ptr<View>> connectOutlets(const QWidget& form, PromptView& view) {
    std::vector<std::unique_ptr<View>> controls;
    forEachOutlet(
        view.outlets, [&]<class Control>(const char* name, WeakReference<Control>& outlet) {
            if constexpr (std::is_same_v<Control, LayoutConstraint>) {
                outlet.connect(form.findChild<ConstraintSpacer*>(QLatin1String(name)));
            } else {
                using Adapter = typename AdapterOf<Control>::type;
                if (auto* widget = form.findChild<typename Adapter::Widget*>(QLatin1String(name))) {
                    auto adapter = std::make_unique<Adapter>(*widget);
                    outlet.connect(adapter.get());
                    controls.push_back(std::move(adapter));
                }
            }
        });
    for (ConstraintSpacer* constraint : form.findChildren<ConstraintSpacer*>()) {
        view.constraints.push_back(constraint);
    }
    // The shake needs a layer from the start, as every view of a layered window has one.
    view.outlets.passwordTextFiled->setWantsLayer(true);
    return controls;
}

}  // namespace velunor
