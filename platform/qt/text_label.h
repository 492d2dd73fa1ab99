#pragma once

#include <QString>
#include <QWidget>

#include "platform/qt/literal_text.h"

namespace velunor {

/// Shows a text exactly as it stands, wrapped, never cut. A screen reader sees static text.
class TextLabel : public QWidget {
    Q_OBJECT
    /// The part that the text plays: productName, title, body, update, caption, countdown or
    /// notice. Settles the font's size and weight and the colour.
    Q_PROPERTY(QString textRole READ textRole WRITE setTextRole)

  public:
    explicit TextLabel(QWidget* parent = nullptr);

    [[nodiscard]] QString textRole() const { return role_; }
    void setTextRole(const QString& role);

    void setText(const ShownText& shown);
    /// The text as shown.
    [[nodiscard]] QString text() const { return text_; }
    /// Tells a screen reader about one change of the text in `changes` only. 1 at first.
    void setAnnouncedChanges(int changes) { announcedChanges_ = changes; }

    [[nodiscard]] QSize sizeHint() const override;
    [[nodiscard]] QSize minimumSizeHint() const override;
    [[nodiscard]] int heightForWidth(int width) const override;

  protected:
    void paintEvent(QPaintEvent* event) override;
    void changeEvent(QEvent* event) override;

  private:
    void updateFont();

    QString role_;
    QString text_;
    LiteralText layout_;
    int announcedChanges_ = 1;
    int changes_ = 0;
};

}  // namespace velunor
