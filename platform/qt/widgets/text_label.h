#pragma once

#include <QString>
#include <QWidget>

#include "platform/controls.h"
#include "platform/qt/widgets/literal_text.h"

namespace velunor {

/// Shows a text exactly as it stands, wrapped, never cut. A screen reader sees static text. It
/// replaces the toolkit's label for the sake of LiteralText, and because that label tells a screen
/// reader of every change, each second's included. Main thread only.
class TextLabel final : public QWidget {
    Q_OBJECT
    /// The part that the text plays: productName, title, body, update, userName, caption,
    /// countdown or notice. Settles the font's size and weight and the colour.
    Q_PROPERTY(QString textRole MEMBER role_ WRITE setTextRole)

  public:
    explicit TextLabel(QWidget* parent = nullptr);

    void setTextRole(const QString& role);

    void setText(const ShownText& shown, Announcement announcement = Announcement::spoken);
    /// The text as shown.
    [[nodiscard]] QString text() const { return text_; }
    /// The font that the role makes of the widget's own.
    [[nodiscard]] const QFont& textFont() const { return layout_.font(); }

    [[nodiscard]] QSize sizeHint() const override;
    [[nodiscard]] QSize minimumSizeHint() const override;
    [[nodiscard]] int heightForWidth(int width) const override;

  signals:
    void textChanged(const QString& text, Announcement announcement);

  protected:
    void paintEvent(QPaintEvent* event) override;
    void changeEvent(QEvent* event) override;

  private:
    void updateFont();

    QString role_;
    QString text_;
    LiteralText layout_;
};

}  // namespace velunor
