#include "platform/qt/desktop/appearance.h"

#include <QApplication>
#include <QDBusMessage>
#include <QDBusPendingCallWatcher>
#include <QDBusPendingReply>
#include <QFileInfo>
#include <QStyle>

namespace velunor {
namespace {

Theme makeTheme(bool dark) {
    const auto pick = [dark](QRgb inLight, QRgb inDark) { return QColor(dark ? inDark : inLight); };
    return {.dark = dark,
            .card = pick(0xFFFFFFU, 0x20252FU),
            .cardBorder = pick(0xC9D0DBU, 0x464F60U),
            .panel = pick(0xF4F6FAU, 0x282E3AU),
            .text = pick(0x18202FU, 0xF0F3F8U),
            .secondaryText = pick(0x525D73U, 0xB0BACBU),
            .link = pick(0x1A56C4U, 0x93BDFFU),
            .linkHover = pick(0xE2E9F6U, 0x353D4CU),
            .accent = pick(0x1D5CCEU, 0x6AA5FFU),
            .accentHover = pick(0x194FB3U, 0x86B6FFU),
            .accentPressed = pick(0x144195U, 0x528EECU),
            .onAccent = pick(0xFFFFFFU, 0x0A1427U),
            .button = pick(0xFFFFFFU, 0x2B323FU),
            .buttonHover = pick(0xF0F3F8U, 0x353D4CU),
            .buttonPressed = pick(0xE2E7EFU, 0x252B36U),
            .buttonBorder = pick(0x848EA1U, 0x7C879BU),
            .field = pick(0xFFFFFFU, 0x181C24U),
            .fieldBorder = pick(0x848EA1U, 0x7C879BU),
            .notice = pick(0xFFF3D9U, 0x3C3016U),
            .noticeBorder = pick(0xEBCB85U, 0x7D6428U),
            .noticeText = pick(0x5B3B00U, 0xFFE1A3U),
            .refused = pick(0xC42B1CU, 0xFF9A8FU)};
}

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

bool motionIsReduced = false;

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
    const bool dark = scheme == preferDark;
    const bool hasPreference = dark || scheme == preferLight;
    if (hasPreference && currentTheme().dark != dark) {
        QApplication::setPalette(paletteOf(dark));
    }
}

class DesktopSettings final : public QObject {
    Q_OBJECT

  public:
    explicit DesktopSettings(QDBusConnection bus);
    ~DesktopSettings() override { motionIsReduced = false; }
    Q_DISABLE_COPY_MOVE(DesktopSettings)

  private:
    Q_SLOT void take(const QString& group, const QString& key, const QDBusVariant& value);
    void ask(const QString& group, const QString& key);

    QDBusConnection bus_;
};

DesktopSettings::DesktopSettings(QDBusConnection bus) : bus_(std::move(bus)) {
    // Otherwise the slot's parameters are not known yet, and the connection is refused.
    qRegisterMetaType<QDBusVariant>();
    // From any sender: the toolkit finds out only later who the portal is, and would drop what it
    // tells until then.
    bus_.connect(QString(), object, interface, "SettingChanged", this,
                 SLOT(take(QString, QString, QDBusVariant)));
    ask(appearance, colorScheme);
    ask(gnomeInterface, animations);
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
        motionIsReduced = inner.metaType() == QMetaType::fromType<bool>() && !inner.toBool();
    }
}

}  // namespace

const Theme& themeFor(const QPalette& palette) {
    static const Theme lightTheme = makeTheme(false);
    static const Theme darkTheme = makeTheme(true);
    const bool dark = palette.color(QPalette::WindowText).lightness() >
                      palette.color(QPalette::Window).lightness();
    return dark ? darkTheme : lightTheme;
}

const Theme& currentTheme() {
    return themeFor(QGuiApplication::palette());
}

void drawRounded(QPainter& painter, const QRectF& rect, double radius, const QBrush& fill,
                 const QPen& outline) {
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setBrush(fill);
    painter.setPen(outline);
    painter.drawRoundedRect(rect, radius, radius);
}

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

#include "appearance.moc"
