#pragma once

#include <QPushButton>
#include <QString>

#include "platform/qt/widgets/literal_text.h"

namespace velunor {

/// A push button whose title is literal and wraps when it is too long for one line; the toolkit's
/// own makes a mnemonic of an ampersand and cuts what does not fit. The inherited text() stays
/// empty: use literalText(). Space and Return press it while it has the focus. Main thread only.
class TextButton final : public QPushButton {
    Q_OBJECT
    /// primary, secondary or link.
    Q_PROPERTY(QString buttonRole MEMBER role_ WRITE setButtonRole)

  public:
    explicit TextButton(QWidget* parent = nullptr);

    void setButtonRole(const QString& role);

    void setLiteralText(const QString& text);
    [[nodiscard]] QString literalText() const { return text_; }
    /// The font that the role makes of the widget's own.
    [[nodiscard]] const QFont& textFont() const { return layout_.font(); }
    /// The part of the button that its title may take.
    [[nodiscard]] QRect textRoom() const { return rect().marginsRemoved(padding()); }
    /// Shows three dots on a grey plate instead of the title, while what the button began goes on.
    void setBusy(bool busy);
    /// Keeps the button at least this wide, in points, as long as its row has the room.
    void setLeastWidth(int width);
    /// The width that the button uses of `width`, where its title may have to wrap.
    [[nodiscard]] int widthWithin(int width) const;

    [[nodiscard]] QSize sizeHint() const override;
    [[nodiscard]] QSize minimumSizeHint() const override;
    [[nodiscard]] int heightForWidth(int width) const override;

  protected:
    void paintEvent(QPaintEvent* event) override;
    void changeEvent(QEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;

  private:
    [[nodiscard]] QMargins padding() const;
    [[nodiscard]] bool isLink() const { return role_ == QLatin1String("link"); }
    void drawPlate(QPainter& painter) const;
    void drawDots(QPainter& painter) const;
    void updateFont();

    QString role_;
    QString text_;
    LiteralText layout_;
    int leastWidth_ = 0;
    bool busy_ = false;
};

}  // namespace velunor
