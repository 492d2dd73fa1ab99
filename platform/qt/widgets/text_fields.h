#pragma once

#include <QLineEdit>
#include <QString>

namespace velunor {

/// A one-line field with rounded corners, a glyph at its leading edge and a focus ring that follows
/// the corners. The toolkit's own looks as each desktop's style has it, and has no place for the
/// glyph, the ring or the colour of a refusal. Main thread only.
class RoundedField : public QLineEdit {
    Q_OBJECT
    /// Resource path of the glyph, drawn in the theme's colour.
    Q_PROPERTY(QString glyph MEMBER glyph_ WRITE setGlyph)

  public:
    void setGlyph(const QString& path);

    /// How strongly the outline shows that the content was refused, from 0 to 1.
    void setRefusal(double strength);

    /// The area that the focus ring surrounds: the field's own bounds.
    [[nodiscard]] QRect focusRingMaskBounds() const { return rect(); }
    /// Fills the shape of the focus ring: the bounds with corner radii 8 and 8.
    void drawFocusRingMask(QPainter& painter) const;

    [[nodiscard]] QSize sizeHint() const override;
    [[nodiscard]] QSize minimumSizeHint() const override;

  protected:
    explicit RoundedField(QWidget* parent);
    void paintEvent(QPaintEvent* event) override;
    void focusInEvent(QFocusEvent* event) override;
    void changeEvent(QEvent* event) override;

    /// Keeps the text out of so many points at its trailing edge.
    void setTrailingRoom(int room);
    /// Length of a glyph's sides in points; it grows with large text.
    [[nodiscard]] int glyphSize() const;
    /// Draws everything but the text: ground, outline or focus ring, and the glyph.
    void drawPlate(QPainter& painter) const;

  private:
    void applyTheme();
    void placeText();

    QString glyph_;
    int trailingRoom_ = 0;
    double refusal_ = 0;
};

/// The field for plain text. The toolkit's own signal for the end of editing leaves out fields that
/// were not edited, and comes when another window takes the focus for a while. Main thread only.
class CustomTextField final : public RoundedField {
    Q_OBJECT

  public:
    explicit CustomTextField(QWidget* parent = nullptr);

  signals:
    /// Return was pressed, or the focus went to another control, edited or not. Leaving an unedited
    /// field that had the focus from the window's activation alone is no end.
    void editingEnded();

  protected:
    void focusInEvent(QFocusEvent* event) override;
    void focusOutEvent(QFocusEvent* event) override;

  private:
    bool editing_ = false;
};

}  // namespace velunor
