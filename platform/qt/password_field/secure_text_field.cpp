#include "platform/qt/password_field/secure_text_field.h"

#include <QAccessible>
#include <QClipboard>
#include <QGuiApplication>
#include <QInputMethodEvent>
#include <QKeyEvent>
#include <QMouseEvent>
#include <QSignalBlocker>
#include <QStyle>
#include <algorithm>

#include "platform/qt/desktop/appearance.h"
#include "platform/qt/desktop/x11_desktop.h"
#include "platform/qt/widgets/picture_view.h"

namespace velunor {
namespace {

constexpr QChar bullet(0x25CF);
constexpr int revealRoom = 6;
constexpr int capsLockRoom = 8;

bool isForbidden(const QKeyEvent& event) {
    const auto keys = {QKeySequence::Undo, QKeySequence::Redo, QKeySequence::Copy,
                       QKeySequence::Cut};
    return std::any_of(keys.begin(), keys.end(),
                       [&](QKeySequence::StandardKey key) { return event.matches(key); });
}

/// Whether the key stands for its text, as the toolkit's own editors decide it.
bool isTyped(const QKeyEvent& event) {
    const QString text = event.text();
    if (text.isEmpty()) {
        return false;
    }
    const QChar first = text.front();
    if (first.category() == QChar::Other_Format) {
        return true;
    }
    const Qt::KeyboardModifiers held = event.modifiers();
    if (held == Qt::ControlModifier || held == (Qt::ShiftModifier | Qt::ControlModifier)) {
        return false;
    }
    return first.isPrint() || first.category() == QChar::Other_PrivateUse ||
           first.isHighSurrogate();
}

/// Takes the first code point from `text`.
char32_t takeCodePoint(QStringView& text) {
    const QChar first = text.front();
    if (first.isHighSurrogate() && text.size() > 1 && text[1].isLowSurrogate()) {
        const char32_t both = QChar::surrogateToUcs4(first, text[1]);
        text = text.sliced(2);
        return both;
    }
    text = text.sliced(1);
    return first.unicode();
}

void wipe(QString& text) {
    // A string that somebody else holds as well is not ours to overwrite.
    if (text.isDetached()) {
        velunor::wipe(reinterpret_cast<char*>(text.data()),
                      static_cast<std::size_t>(text.size()) * sizeof(QChar));
    }
}

}  // namespace

CustomSecureTextField::CustomSecureTextField(QWidget* parent)
    : RoundedField(parent), reveal_(new RevealButton(this)) {
    describeFields();
    setEchoMode(QLineEdit::Password);
    setAcceptDrops(false);
    setContextMenuPolicy(Qt::NoContextMenu);
    setInputMethodHints(Qt::ImhHiddenText | Qt::ImhSensitiveData | Qt::ImhNoPredictiveText |
                        Qt::ImhNoAutoUppercase);
    connect(this, &QLineEdit::textChanged, this, &CustomSecureTextField::followEditor);
    connect(reveal_, &RevealButton::heldChanged, this, [this] { update(); });
    reveal_->setEnabled(false);
    placeTrailingParts();
}

void CustomSecureTextField::type(QStringView text) {
    const auto start =
        static_cast<std::size_t>(hasSelectedText() ? selectionStart() : cursorPosition());
    secret_.erase(start, static_cast<std::size_t>(selectionLength()));
    std::size_t at = start;
    while (!text.isEmpty() && length() < maxLength()) {
        const char32_t codePoint = takeCodePoint(text);
        if (QChar::category(codePoint) != QChar::Other_Control) {
            secret_.insert(at++, codePoint);
        }
    }
    const QSignalBlocker ownChange(this);
    insert(QString(static_cast<qsizetype>(at - start), bullet));
    reveal_->setEnabled(length() > 0);
}

void CustomSecureTextField::wipeText() {
    secret_.clear();
    setText(QString());
}

void CustomSecureTextField::followEditor() {
    const auto shown = static_cast<std::size_t>(text().size());
    if (shown < secret_.size()) {
        // The caret stands where something was removed, whichever key did it.
        secret_.erase(static_cast<std::size_t>(cursorPosition()), secret_.size() - shown);
    }
    const QString bullets(length(), bullet);
    if (text() != bullets) {
        // Nothing gets into the editor past this class.
        const QSignalBlocker ownChange(this);
        setText(bullets);
    }
    reveal_->setEnabled(length() > 0);
}

void CustomSecureTextField::keyPressEvent(QKeyEvent* event) {
    if (isForbidden(*event)) {
        return;
    }
    if (event->matches(QKeySequence::Paste)) {
        QString copied = QGuiApplication::clipboard()->text(QClipboard::Clipboard);
        type(copied);
        wipe(copied);
    } else if (isTyped(*event)) {
        type(event->text());
    } else {
        RoundedField::keyPressEvent(event);
    }
}

void CustomSecureTextField::inputMethodEvent(QInputMethodEvent* event) {
    // What is being composed is neither shown nor kept; only what comes of it is typed.
    if (event->replacementLength() > 0) {
        setSelection(std::max(0, cursorPosition() + event->replacementStart()),
                     event->replacementLength());
    }
    if (!event->commitString().isEmpty() || event->replacementLength() > 0) {
        type(event->commitString());
    }
}

void CustomSecureTextField::mouseReleaseEvent(QMouseEvent* event) {
    // With the middle button whatever was last selected anywhere would be pasted.
    if (event->button() != Qt::MiddleButton) {
        RoundedField::mouseReleaseEvent(event);
    }
}

void CustomSecureTextField::updateCapsLockHint() {
    const bool hint = hasFocus() && capsLockIsOn();
    if (hint != capsLockHint_) {
        capsLockHint_ = hint;
        QAccessibleEvent described(this, QAccessible::DescriptionChanged);
        QAccessible::updateAccessibility(&described);
        placeTrailingParts();
    }
}

void CustomSecureTextField::placeTrailingParts() {
    const int side = reveal_->sizeHint().width();
    reveal_->setGeometry(trailingSquare(revealRoom, side));
    setTrailingRoom(side + (capsLockHint_ ? capsLockRoom + glyphSize() : 0));
}

QRect CustomSecureTextField::trailingSquare(int room, int side) const {
    const QRect square(width() - room - side, (height() - side) / 2, side, side);
    return QStyle::visualRect(layoutDirection(), rect(), square);
}

void CustomSecureTextField::paintEvent(QPaintEvent* event) {
    if (isRevealed()) {
        QPainter painter(this);
        drawPlate(painter);
        painter.setPen(currentTheme().text);
        drawSecret(painter, rect().marginsRemoved(textMargins()), secret_.reveal(),
                   static_cast<std::size_t>(cursorPosition()));
    } else {
        RoundedField::paintEvent(event);
    }
    if (capsLockHint_) {
        QPainter painter(this);
        const QRect place =
            trailingSquare(revealRoom + reveal_->width() + capsLockRoom, glyphSize());
        drawVectorPicture(painter, place, ":/icons/caps-lock-glyph.picture", currentTheme().link);
    }
}

bool CustomSecureTextField::event(QEvent* event) {
    const bool isTaken = RoundedField::event(event);
    switch (event->type()) {
        case QEvent::FocusOut:
            reveal_->letGo();
            [[fallthrough]];
        case QEvent::FocusIn:
        case QEvent::KeyPress:
        case QEvent::KeyRelease:
            updateCapsLockHint();
            break;
        case QEvent::Resize:
        case QEvent::LayoutDirectionChange:
        case QEvent::FontChange:
            placeTrailingParts();
            break;
        default:
            break;
    }
    return isTaken;
}

}  // namespace velunor
