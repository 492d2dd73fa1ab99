#pragma once

#include <QAbstractButton>
#include <QStringView>

#include "platform/qt/password_field/secret_text.h"
#include "platform/qt/widgets/text_fields.h"

namespace velunor {

/// The eye in a password field. What it reveals is revealed while the pointer's left button or the
/// space bar holds it down, and no longer: letting go, leaving it, another focus or another active
/// window end it. Main thread only.
class RevealButton final : public QAbstractButton {
    Q_OBJECT

  public:
    explicit RevealButton(QWidget* parent);

    [[nodiscard]] bool isHeld() const { return held_; }
    /// Ends the reveal.
    void letGo() { setHeld(false); }

    [[nodiscard]] QSize sizeHint() const override;

  signals:
    void heldChanged(bool held);

  protected:
    bool event(QEvent* event) override;
    void mousePressEvent(QMouseEvent* event) override;
    void mouseMoveEvent(QMouseEvent* event) override;
    void mouseReleaseEvent(QMouseEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;
    void keyReleaseEvent(QKeyEvent* event) override;
    void paintEvent(QPaintEvent* event) override;

  private:
    void setHeld(bool held);

    bool held_ = false;
};

/// The field for a password. The toolkit's own, in its password mode, keeps the text in buffers and
/// an undo history that nobody wipes. Here its editor holds one bullet for each character, so that
/// nothing it does with its text can give the password away: clipboard, selection, drag, undo,
/// input methods, assistive technologies, freed buffers. The typed text is kept beside it and
/// wiped. Main thread only.
///
/// What cannot be wiped from here: the key events of single characters, and for a pasted password
/// the clipboard itself with the toolkit's copy of it.
class CustomSecureTextField final : public RoundedField {
    Q_OBJECT

  public:
    explicit CustomSecureTextField(QWidget* parent = nullptr);

    /// The typed text in UTF-8.
    [[nodiscard]] Secret secret() const { return secret_.utf8(); }
    /// The number of typed characters (code points).
    [[nodiscard]] int length() const { return static_cast<int>(secret_.size()); }
    /// Types `text` at the caret in place of what is selected. Line breaks and other control
    /// characters are left out.
    void type(QStringView text);
    /// Empties the field; nothing of the text is left.
    void wipeText();

    /// The eye that shows the text while it is held; the field's own, to be put into a tab order.
    [[nodiscard]] RevealButton& revealButton() const { return *reveal_; }
    /// Whether the text is readable on the screen now.
    [[nodiscard]] bool isRevealed() const { return reveal_->isHeld(); }
    /// Whether the field hints at Caps Lock: it has the focus while Caps Lock is on.
    [[nodiscard]] bool hintsAtCapsLock() const { return capsLockHint_; }
    /// What the hint says to those who do not see it.
    [[nodiscard]] const QString& capsLockText() const { return capsLockText_; }
    void setCapsLockText(const QString& text) { capsLockText_ = text; }

  protected:
    void paintEvent(QPaintEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;
    void inputMethodEvent(QInputMethodEvent* event) override;
    void mouseReleaseEvent(QMouseEvent* event) override;
    bool event(QEvent* event) override;

  private:
    /// Makes assistive technologies meet every password field as a password text of as many bullets
    /// as there are characters, which they may edit and never read.
    static void describeFields();
    /// Removes from the typed text what the editor has removed of its bullets.
    void followEditor();
    void placeTrailingParts();
    void updateCapsLockHint();
    /// The square of `side` points that keeps `room` points to the trailing edge.
    [[nodiscard]] QRect trailingSquare(int room, int side) const;

    SecretText secret_;
    RevealButton* reveal_;
    QString capsLockText_ = "Caps Lock is on";
    bool capsLockHint_ = false;
};

}  // namespace velunor
