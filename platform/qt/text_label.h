#pragma once

#include <QLabel>
#include <QList>
#include <QTextLayout>

#include "platform/qt/wrapped_text.h"

namespace velunor {

/// A label whose text is literal and never cut: no markup, no mnemonics, no ellipsis.
class TextLabel : public QLabel {
    Q_OBJECT
    /// Size of the text as a ratio to the desktop's font.
    Q_PROPERTY(qreal textRatio MEMBER textRatio_ WRITE setTextRatio)
    Q_PROPERTY(bool strong MEMBER strong_ WRITE setStrong)
    /// Which of the theme's text colours the label has.
    Q_PROPERTY(TextRole textRole MEMBER textRole_ WRITE setTextRole)

  public:
    enum class TextRole { Standard, Muted, Notice };
    Q_ENUM(TextRole)

    explicit TextLabel(QWidget* parent = nullptr);

    void setLiteralText(const QString& text, const QList<QTextLayout::FormatRange>& formats = {});
    [[nodiscard]] const QString& literalText() const { return content_.text(); }

    void setTextRatio(qreal ratio);
    void setStrong(bool strong);
    void setTextRole(TextRole role) { textRole_ = role; }

    [[nodiscard]] QSize sizeHint() const override;
    [[nodiscard]] QSize minimumSizeHint() const override;
    [[nodiscard]] bool hasHeightForWidth() const override { return true; }
    [[nodiscard]] int heightForWidth(int width) const override;

  protected:
    void paintEvent(QPaintEvent* event) override;

  private:
    [[nodiscard]] QFont textFont() const;

    WrappedText content_;
    qreal textRatio_ = 1;
    bool strong_ = false;
    TextRole textRole_ = TextRole::Standard;
};

}  // namespace velunor
