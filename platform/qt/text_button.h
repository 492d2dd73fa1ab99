#pragma once

#include <QPushButton>

#include "platform/qt/wrapped_text.h"

namespace velunor {

/// A push button whose caption is literal and wraps where it is too long for one line.
class TextButton : public QPushButton {
    Q_OBJECT
    Q_PROPERTY(Look look MEMBER look_ WRITE setLook)

  public:
    /// Filled in the accent colour, quiet, or like a link.
    enum class Look { Primary, Secondary, Link };
    Q_ENUM(Look)

    explicit TextButton(QWidget* parent = nullptr);

    void setLook(Look look) { look_ = look; }
    void setCaption(const QString& caption);
    [[nodiscard]] const QString& caption() const { return content_.text(); }

    [[nodiscard]] QSize sizeHint() const override;
    [[nodiscard]] QSize minimumSizeHint() const override;
    [[nodiscard]] bool hasHeightForWidth() const override { return true; }
    [[nodiscard]] int heightForWidth(int width) const override;

  protected:
    void paintEvent(QPaintEvent* event) override;

  private:
    [[nodiscard]] QFont captionFont() const;
    [[nodiscard]] int horizontalPadding() const;

    WrappedText content_;
    Look look_ = Look::Secondary;
};

}  // namespace velunor
