#pragma once

#include <QString>
#include <QWidget>
#include <memory>
#include <vector>

#include "window/prompt_view.h"

namespace velunor {

/// A rounded panel in the theme's colours that groups controls of the form. Main thread only.
class PanelView final : public QWidget {
    Q_OBJECT
    /// panel or notice.
    Q_PROPERTY(QString panelRole MEMBER role_)

  public:
    using QWidget::QWidget;

  protected:
    void paintEvent(QPaintEvent* event) override;

  private:
    QString role_;
};

/// A layout constraint as a form has it: the distance below a control, which is kept while the
/// constraint wins over its rival and gone while it yields. Main thread only.
class ConstraintSpacer final : public QWidget, public LayoutConstraint {
    Q_OBJECT
    /// The constraint's identifier; empty when it has none.
    Q_PROPERTY(QString identifier MEMBER identifier_)
    /// The distance in points.
    Q_PROPERTY(int distance MEMBER distance_ WRITE setDistance)

  public:
    explicit ConstraintSpacer(QWidget* parent = nullptr);

    void setDistance(int distance);

    [[nodiscard]] std::string identifier() const override { return identifier_.toStdString(); }
    void setPriority(int priority) override;

  private:
    void applyHeight();

    QString identifier_;
    int distance_ = 0;
    int priority_ = layoutPriorityDefaultHigh;
};

/// Connects every outlet of `view` to the object of its name in `form`, and collects the form's
/// constraints. The controls that come back are what the outlets refer to; keep them as long as
/// `form`. Main thread only.
[[nodiscard]] std::vector<std::unique_ptr<View>> connectOutlets(const QWidget& form,
                                                                PromptView& view);

}  // namespace velunor
