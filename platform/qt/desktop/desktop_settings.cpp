#include "platform/qt/desktop/desktop_settings.h"

#include <QApplication>
#include <QDBusMessage>
#include <QDBusPendingCallWatcher>
#include <QDBusPendingReply>
#include <QFileInfo>
#include <QScreen>
#include <QStyle>
#include <utility>

#include "platform/qt/desktop/appearance.h"
#include "platform/qt/desktop/x11_properties.h"

namespace velunor {
namespace {

constexpr const char* service = "org.freedesktop.portal.Desktop";
constexpr const char* object = "/org/freedesktop/portal/desktop";
constexpr const char* interface = "org.freedesktop.portal.Settings";

constexpr const char* appearance = "org.freedesktop.appearance";
constexpr const char* gnomeInterface = "org.gnome.desktop.interface";
constexpr const char* gnomeAccess = "org.gnome.desktop.a11y.interface";

// Values of the portal's colour scheme; 0 is no preference.
constexpr unsigned preferDark = 1;
constexpr unsigned preferLight = 2;
/// The portal's value of high contrast; 0 is no preference.
constexpr unsigned preferHighContrast = 1;

bool motionIsReduced = false;

/// The value within as many variants as there are around it.
QVariant unwrapped(QVariant value) {
    while (value.metaType() == QMetaType::fromType<QDBusVariant>()) {
        value = qvariant_cast<QDBusVariant>(value).variant();
    }
    return value;
}

QPalette paletteOf(bool dark) {
    const QColor window(dark ? 0x242830U : 0xF2F3F5U);
    const QColor text(dark ? 0xF0F3F8U : 0x18202FU);
    QPalette palette(window);
    for (const auto role : {QPalette::WindowText, QPalette::Text, QPalette::ButtonText}) {
        palette.setColor(role, text);
    }
    return palette;
}

void applyColorScheme(unsigned scheme) {
    // First what the toolkit finds by itself, which may be right already.
    QApplication::setPalette(QPalette());
    const bool dark = scheme == preferDark;
    const bool hasPreference = dark || scheme == preferLight;
    if (hasPreference && currentTheme().dark != dark) {
        QApplication::setPalette(paletteOf(dark));
    }
}

/// Whether the toolkit draws everything larger already, because the X server says that the desktop
/// wants it so.
bool isScaledByXServer() {
    constexpr double usual = 96;
    const QScreen* screen = QGuiApplication::primaryScreen();
    return x11Connection() != nullptr && screen != nullptr &&
           screen->logicalDotsPerInch() * screen->devicePixelRatio() > usual;
}

class DesktopSettings final : public QObject {
    Q_OBJECT

  public:
    explicit DesktopSettings(QDBusConnection bus);
    ~DesktopSettings() override;
    Q_DISABLE_COPY_MOVE(DesktopSettings)

  private:
    Q_SLOT void take(const QString& group, const QString& key, const QDBusVariant& value);
    void ask(const QString& group, const QString& key);
    void applyTextScale(double scale);

    QDBusConnection bus_;
    /// The application's font as the toolkit has it.
    QFont font_ = QApplication::font();
    bool contrastPreferred_ = false;
    bool contrastOfGnome_ = false;
};

DesktopSettings::DesktopSettings(QDBusConnection bus) : bus_(std::move(bus)) {
    // Otherwise the slot's parameters are not known yet, and the connection is refused.
    qRegisterMetaType<QDBusVariant>();
    // From any sender: the toolkit finds out only later who the portal is, and would drop what it
    // tells until then.
    bus_.connect(QString(), object, interface, "SettingChanged", this,
                 SLOT(take(QString, QString, QDBusVariant)));
    ask(appearance, "color-scheme");
    ask(appearance, "contrast");
    ask(gnomeAccess, "high-contrast");
    ask(gnomeInterface, "text-scaling-factor");
    ask(gnomeInterface, "enable-animations");
}

DesktopSettings::~DesktopSettings() {
    motionIsReduced = false;
    setHighContrast(false);
    applyTextScale(1);
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
    // NOLINTNEXTLINE(clang-analyzer-cplusplus.NewDeleteLeaks): this object owns what waits.
}

void DesktopSettings::take(const QString& group, const QString& key, const QDBusVariant& value) {
    const QVariant inner = unwrapped(QVariant::fromValue(value));
    const auto is = [&](const char* wantedGroup, const char* wantedKey) {
        return group == QLatin1String(wantedGroup) && key == QLatin1String(wantedKey);
    };
    if (is(appearance, "color-scheme")) {
        applyColorScheme(inner.toUInt());
    } else if (is(appearance, "contrast")) {
        contrastPreferred_ = inner.toUInt() == preferHighContrast;
        setHighContrast(contrastPreferred_ || contrastOfGnome_);
    } else if (is(gnomeAccess, "high-contrast")) {
        contrastOfGnome_ = inner.toBool();
        setHighContrast(contrastPreferred_ || contrastOfGnome_);
    } else if (is(gnomeInterface, "text-scaling-factor")) {
        applyTextScale(inner.toDouble());
    } else if (is(gnomeInterface, "enable-animations")) {
        motionIsReduced = inner.metaType() == QMetaType::fromType<bool>() && !inner.toBool();
    }
}

void DesktopSettings::applyTextScale(double scale) {
    // What the desktop itself offers, and a little more.
    constexpr double least = 0.5;
    constexpr double most = 3;
    QFont font = font_;
    if (scale >= least && scale <= most && !isScaledByXServer()) {
        if (font_.pixelSize() > 0) {
            font.setPixelSize(qRound(font_.pixelSize() * scale));
        } else {
            font.setPointSizeF(font_.pointSizeF() * scale);
        }
    }
    if (font != QApplication::font()) {
        QApplication::setFont(font);
    }
}

}  // namespace

bool isMotionReduced(const QWidget& widget) {
    return motionIsReduced ||
           widget.style()->styleHint(QStyle::SH_Widget_Animation_Duration, nullptr, &widget) <= 0;
}

bool hasSessionBus() {
    return !qEnvironmentVariableIsEmpty("DBUS_SESSION_BUS_ADDRESS") ||
           QFileInfo::exists(qEnvironmentVariable("XDG_RUNTIME_DIR") + "/bus");
}

std::unique_ptr<QObject> followDesktopSettings(const QDBusConnection& sessionBus) {
    return std::make_unique<DesktopSettings>(sessionBus);
}

}  // namespace velunor

#include "desktop_settings.moc"
