#include "platform/qt/desktop/desktop_settings.h"

#include <QApplication>
#include <QDBusMessage>
#include <QDBusPendingCallWatcher>
#include <QDBusPendingReply>
#include <QFileInfo>
#include <QPalette>
#include <QStyle>

#include "platform/qt/desktop/theme.h"

namespace velunor {

namespace {

constexpr const char* service = "org.freedesktop.portal.Desktop";
constexpr const char* object = "/org/freedesktop/portal/desktop";
constexpr const char* interface = "org.freedesktop.portal.Settings";

constexpr const char* appearance = "org.freedesktop.appearance";
constexpr const char* colorScheme = "color-scheme";
constexpr const char* gnomeInterface = "org.gnome.desktop.interface";
constexpr const char* animations = "enable-animations";

// Values of the portal's colour scheme; 0 is no preference.
constexpr unsigned preferDark = 1;
constexpr unsigned preferLight = 2;

bool& motionIsReduced() {
    static bool reduced = false;
    return reduced;
}

/// The value within as many variants as there are around it.
QVariant unwrapped(QVariant value) {
    while (value.metaType() == QMetaType::fromType<QDBusVariant>()) {
        value = qvariant_cast<QDBusVariant>(value).variant();
    }
    return value;
}

QPalette paletteOf(bool dark) {
    const QColor window = dark ? QColor(0x24, 0x28, 0x30) : QColor(0xF2, 0xF3, 0xF5);
    const QColor text = dark ? QColor(0xF0, 0xF3, 0xF8) : QColor(0x18, 0x20, 0x2F);
    QPalette palette(window);
    for (const auto role : {QPalette::WindowText, QPalette::Text, QPalette::ButtonText}) {
        palette.setColor(role, text);
    }
    return palette;
}

void applyColorScheme(unsigned scheme) {
    // First what the toolkit finds by itself, which may be right already.
    QApplication::setPalette(QPalette());
    if (scheme == preferDark || scheme == preferLight) {
        const bool dark = scheme == preferDark;
        if (themeFor(QGuiApplication::palette()).dark != dark) {
            QApplication::setPalette(paletteOf(dark));
        }
    }
}

}  // namespace

bool isMotionReduced(const QWidget& widget) {
    return motionIsReduced() ||
           widget.style()->styleHint(QStyle::SH_Widget_Animation_Duration, nullptr, &widget) <= 0;
}

bool hasSessionBus() {
    return !qEnvironmentVariableIsEmpty("DBUS_SESSION_BUS_ADDRESS") ||
           QFileInfo::exists(qEnvironmentVariable("XDG_RUNTIME_DIR") + "/bus");
}

DesktopSettings::DesktopSettings(QDBusConnection bus, QObject* parent)
    : QObject(parent), bus_(std::move(bus)) {
    // Otherwise the slot's parameters are not known yet, and the connection is refused.
    qRegisterMetaType<QDBusVariant>();
    // From any sender: the toolkit finds out only later who the portal is, and would drop what it
    // tells until then.
    bus_.connect(QString(), object, interface, "SettingChanged", this,
                 SLOT(take(QString, QString, QDBusVariant)));
    ask(appearance, colorScheme);
    ask(gnomeInterface, animations);
}

DesktopSettings::~DesktopSettings() {
    motionIsReduced() = false;
}

void DesktopSettings::ask(const QString& group, const QString& key) {
    QDBusMessage question = QDBusMessage::createMethodCall(service, object, interface, "Read");
    question << group << key;
    auto* answer = new QDBusPendingCallWatcher(bus_.asyncCall(question), this);
    connect(answer, &QDBusPendingCallWatcher::finished, this, [this, group, key, answer] {
        const QDBusPendingReply<QDBusVariant> reply = *answer;
        if (reply.isValid()) {
            take(group, key, reply.value());
        }
        answer->deleteLater();
    });
}

void DesktopSettings::take(const QString& group, const QString& key, const QDBusVariant& value) {
    const QVariant inner = unwrapped(QVariant::fromValue(value));
    if (group == QLatin1String(appearance) && key == QLatin1String(colorScheme)) {
        applyColorScheme(inner.toUInt());
    } else if (group == QLatin1String(gnomeInterface) && key == QLatin1String(animations)) {
        motionIsReduced() = inner.metaType() == QMetaType::fromType<bool>() && !inner.toBool();
    }
}

}  // namespace velunor
