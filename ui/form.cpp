#include "ui/form.h"

#include <type_traits>
#include <utility>

#include "platform/qt/controls/control_adapters.h"
#include "platform/qt/desktop/appearance.h"

namespace velunor {
namespace {

constexpr double panelRadius = 10;

/// What stands for a control's kind in the form.
template <class Control>
struct AdapterOf : std::type_identity<WidgetControl<Control>> {};
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

void PanelView::paintEvent(QPaintEvent*) {
    const Theme& theme = currentTheme();
    const bool notice = role_ == QLatin1String("notice");
    const bool outlined = notice || theme.highContrast;
    const double inset = theme.line / 2;
    QPainter painter(this);
    drawRounded(painter, QRectF(rect()).adjusted(inset, inset, -inset, -inset), panelRadius,
                notice ? theme.notice : theme.panel,
                outlined ? QPen(notice ? theme.noticeBorder : theme.fieldBorder, theme.line)
                         : QPen(Qt::NoPen));
}

ConstraintSpacer::ConstraintSpacer(QWidget* parent) : QWidget(parent) {
    applyHeight();
}

void ConstraintSpacer::setDistance(int distance) {
    distance_ = distance;
    applyHeight();
}

void ConstraintSpacer::setPriority(int priority) {
    priority_ = priority;
    applyHeight();
}

void ConstraintSpacer::applyHeight() {
    setFixedHeight(priority_ >= layoutPriorityDefaultHigh ? distance_ : 0);
}

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
