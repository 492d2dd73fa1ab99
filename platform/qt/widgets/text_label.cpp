#include "platform/qt/widgets/text_label.h"

#include <QEvent>
#include <algorithm>
#include <array>

#include "platform/qt/accessibility/accessibility.h"
#include "platform/qt/desktop/appearance.h"

namespace velunor {
namespace {

/// A wider natural size would only squeeze the neighbours.
constexpr int widestHint = 4000;
constexpr int narrowestHint = 40;

struct RoleLook {
    const char* role;
    double scale;
    QFont::Weight weight;
    QColor Theme::*color;
};

/// Three sizes: the desktop's own, one for the title and one for what is by the way.
constexpr std::array<RoleLook, 8> looks{{
    {"body", 1.0, QFont::Normal, &Theme::secondaryText},
    {"productName", 1.0, QFont::DemiBold, &Theme::secondaryText},
    {"title", 1.35, QFont::Bold, &Theme::text},
    {"update", 1.0, QFont::DemiBold, &Theme::text},
    {"userName", 1.0, QFont::DemiBold, &Theme::text},
    {"caption", 0.9, QFont::Normal, &Theme::secondaryText},
    {"countdown", 1.0, QFont::Normal, &Theme::text},
    {"notice", 1.0, QFont::Normal, &Theme::noticeText},
}};

const RoleLook& lookOf(const QString& role) {
    const auto* found = std::find_if(std::begin(looks), std::end(looks), [&](const RoleLook& look) {
        return role == QLatin1String(look.role);
    });
    return found == std::end(looks) ? looks[0] : *found;
}

/// A long name that has no spaces breaks where it has a joint, before it breaks between letters.
void allowBreaksWithinNames(QString& text) {
    constexpr QChar zeroWidthSpace(0x200B);
    for (qsizetype index = text.size() - 1; index > 0; --index) {
        if (QStringView(u".@_-/").contains(text.at(index - 1)) &&
            text.at(index).isLetterOrNumber()) {
            text.insert(index, zeroWidthSpace);
        }
    }
}

class AccessibleTextLabel final : public QAccessibleWidget {
  public:
    explicit AccessibleTextLabel(TextLabel* label)
        : QAccessibleWidget(label, QAccessible::StaticText) {}

    [[nodiscard]] QString text(QAccessible::Text kind) const override {
        return kind == QAccessible::Name ? static_cast<TextLabel*>(widget())->text()
                                         : QAccessibleWidget::text(kind);
    }
};

}  // namespace

TextLabel::TextLabel(QWidget* parent) : QWidget(parent) {
    installAccessible<TextLabel, AccessibleTextLabel>();
    QSizePolicy policy(QSizePolicy::Preferred, QSizePolicy::Minimum);
    policy.setHeightForWidth(true);
    setSizePolicy(policy);
    updateFont();
}

void TextLabel::setTextRole(const QString& role) {
    role_ = role;
    updateFont();
}

void TextLabel::setText(const ShownText& shown, Announcement announcement) {
    const bool changed = shown.text != text_;
    text_ = shown.text;
    ShownText laidOut = boundedText(shown);
    const bool bulleted =
        role_ == QLatin1String("update") && text_.startsWith(QStringLiteral("\u2022  "));
    if (bulleted) {
        // A long name must not leave its bullet alone on the line above.
        laidOut.text.replace(1, 2, QString(2, QChar::Nbsp));
    }
    if (laidOut.formats.isEmpty() &&
        (role_ == QLatin1String("update") || role_ == QLatin1String("userName"))) {
        allowBreaksWithinNames(laidOut.text);
    }
    const auto size = [this] { return std::pair(sizeHint(), heightForWidth(width())); };
    const bool inSight = isVisible();
    const auto before = inSight ? size() : std::pair(QSize(), 0);
    layout_.setText(laidOut, bulleted ? 3 : 0);
    if (inSight && size() == before) {
        // A running countdown must not lay the window out anew each second, nor go through the
        // queue of events to be painted.
        repaint();
    } else {
        updateGeometry();
        update();
    }
    if (!changed) {
        return;
    }
    if (announcement == Announcement::spoken) {
        QAccessibleEvent renamed(this, QAccessible::NameChanged);
        QAccessible::updateAccessibility(&renamed);
    }
    emit textChanged(text_, announcement);
}

QSize TextLabel::sizeHint() const {
    const int width = std::clamp(layout_.naturalWidth(), narrowestHint, widestHint);
    return {width, layout_.heightForWidth(width)};
}

QSize TextLabel::minimumSizeHint() const {
    return {narrowestHint, layout_.heightForWidth(widestHint)};
}

int TextLabel::heightForWidth(int width) const {
    return layout_.heightForWidth(width);
}

void TextLabel::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    layout_.draw(painter, rect(), currentTheme().*lookOf(role_).color);
}

void TextLabel::changeEvent(QEvent* event) {
    QWidget::changeEvent(event);
    if (event->type() == QEvent::FontChange || event->type() == QEvent::LayoutDirectionChange) {
        updateFont();
    }
}

void TextLabel::updateFont() {
    const RoleLook& look = lookOf(role_);
    QFont roleFont = font();
    if (roleFont.pixelSize() > 0) {
        roleFont.setPixelSize(qRound(roleFont.pixelSize() * look.scale));
    } else {
        roleFont.setPointSizeF(roleFont.pointSizeF() * look.scale);
    }
    roleFont.setWeight(look.weight);
    layout_.setFont(roleFont, layoutDirection());
    updateGeometry();
    update();
}

}  // namespace velunor
