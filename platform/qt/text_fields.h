#pragma once

#include <QLineEdit>

namespace velunor {

/// A plain text field whose focus ring follows its rounded corners.
class CustomTextField : public QLineEdit {
    Q_OBJECT

  public:
    explicit CustomTextField(QWidget* parent = nullptr);

    /// The area that the focus ring surrounds: the field's own bounds.
    [[nodiscard]] QRectF focusRingMaskBounds() const { return rect(); }

    [[nodiscard]] QSize sizeHint() const override;
    [[nodiscard]] QSize minimumSizeHint() const override;

  protected:
    void paintEvent(QPaintEvent* event) override;
    void changeEvent(QEvent* event) override;

  private:
    void drawFocusRingMask(QPainter& painter) const;
    void applyTheme();

    bool applyingTheme_ = false;
};

/// A password field with the same look: nothing typed can be copied, dragged, undone or learnt by
/// an input method.
class CustomSecureTextField : public CustomTextField {
    Q_OBJECT

  public:
    explicit CustomSecureTextField(QWidget* parent = nullptr);

    /// Overwrites what the field holds and empties it. The toolkit's own earlier copies, such as
    /// those of a text that has grown, are beyond reach.
    void wipeAndClear();

  protected:
    bool event(QEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;
};

}  // namespace velunor
