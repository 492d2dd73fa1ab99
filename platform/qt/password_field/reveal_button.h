#pragma once

#include <QAbstractButton>

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

}  // namespace velunor
