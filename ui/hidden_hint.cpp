#include "ui/hidden_hint.h"

#include "platform/qt/controls/control_adapters.h"
#include "platform/qt/widgets/shown_text.h"
#include "ui/form.h"
#include "ui/keyboard_entrance.h"
#include "ui_prompt_window.h"

namespace velunor {
namespace {

QString bounded(const TextLabel& label) {
    return boundedText({label.text(), {}}).text;
}

}  // namespace

HiddenHint::HiddenHint(QWidget& window, const Ui::PromptForm& form, KeyboardEntrance& entrance,
                       const QString& text)
    : QObject(&window), sight_(window), notification_(QDBusConnection::sessionBus()) {
    connect(&sight_, &WindowSight::lost, this, [this, &form, text] {
        notification_.show({bounded(*form.productNameLabel), bounded(*form.titleLabel),
                            bounded(*form.updateDescription) + '\n' + text});
    });
    connect(&sight_, &WindowSight::found, &notification_, &DesktopNotification::withdraw);
    connect(&notification_, &DesktopNotification::clicked, this,
            [&window, &entrance](const QByteArray& token) {
                entrance.openNow();
                bringToFront(window, token);
            });
}

}  // namespace velunor
