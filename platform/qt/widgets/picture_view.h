#pragma once

#include <QColor>
#include <QImage>
#include <QPainter>
#include <QPixmap>
#include <QString>
#include <QWidget>

namespace velunor {

/// Sides of the square that the program's own vector pictures are recorded in, see record_icons.
inline constexpr double recordedPictureSide = 64;

/// Draws one of the program's own vector pictures into `area`, sharp at the device's resolution;
/// all in the colour `tint` where that is valid. Nothing when there is none. Main thread only.
void drawVectorPicture(QPainter& painter, const QRect& area, const QString& resource,
                       const QColor& tint);

/// One of the program's own square vector pictures, `side` pixels wide and high. Main thread only.
[[nodiscard]] QPixmap vectorPicture(const QString& resource, int side);

/// Shows a picture with its proportions kept, sharp on a scaled desktop, where the toolkit's label
/// blurs it. Decorative: a screen reader passes over it. Main thread only.
class PictureView final : public QWidget {
    Q_OBJECT
    /// Resource path of the vector picture that is shown until an image is set.
    Q_PROPERTY(QString source MEMBER source_)
    /// Length of the square's sides in points.
    Q_PROPERTY(int side MEMBER side_)
    /// Width in points that an image may have that is wider than high; without it the square's.
    Q_PROPERTY(int widest MEMBER widest_)
    /// Draw the picture in the colour of notices, and larger beside large text.
    Q_PROPERTY(bool noticeTint MEMBER noticeTint_)

  public:
    explicit PictureView(QWidget* parent = nullptr);

    /// Shows `image`, or the vector picture again when it is a null one.
    void setImage(const QImage& image);

    [[nodiscard]] QSize sizeHint() const override;

  protected:
    void paintEvent(QPaintEvent* event) override;

  private:
    QString source_;
    QImage image_;
    int side_ = 16;
    int widest_ = 0;
    bool noticeTint_ = false;
};

}  // namespace velunor
