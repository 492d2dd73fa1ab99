#pragma once

#include <QString>
#include <QWidget>

namespace velunor {

/// A view with a backing layer: a filled shape with rounded corners.
class LayerView : public QWidget {
    Q_OBJECT

  public:
    explicit LayerView(QWidget* parent = nullptr);

    void setLayerColor(const QColor& color);
    void setLayerCornerRadius(qreal radius);

  protected:
    void paintEvent(QPaintEvent* event) override;

  private:
    QColor color_ = Qt::transparent;
    qreal cornerRadius_ = 0;
};

/// The soft card of a notice.
class NoticeCard : public QWidget {
    Q_OBJECT

  public:
    explicit NoticeCard(QWidget* parent = nullptr);

  protected:
    void paintEvent(QPaintEvent* event) override;
};

/// A gap between two controls that takes its length while it wins over its rival, and nothing while
/// it yields.
class ConstraintGap : public QWidget {
    Q_OBJECT
    /// Length in points of the gap that wins.
    Q_PROPERTY(int length MEMBER length_ WRITE setLength)
    Q_PROPERTY(QString identifier MEMBER identifier_ WRITE setIdentifier)

  public:
    explicit ConstraintGap(QWidget* parent = nullptr);

    void setLength(int length) { length_ = length; }
    void setIdentifier(const QString& identifier) { identifier_ = identifier; }
    [[nodiscard]] const QString& identifier() const { return identifier_; }

    /// Priorities from 500 on win.
    void setPriority(int priority);

  private:
    int length_ = 0;
    QString identifier_;
};

}  // namespace velunor
