#pragma once

#include <QImage>
#include <QSvgRenderer>
#include <QWidget>

namespace velunor {

/// Shows one picture, centred and sharp at any scale: a bitmap, or a vector drawing of the program.
class PictureView : public QWidget {
    Q_OBJECT
    /// Resource path of the vector drawing that is shown until a bitmap is set.
    Q_PROPERTY(QString drawing READ drawing WRITE setDrawing)

  public:
    explicit PictureView(QWidget* parent = nullptr);

    [[nodiscard]] QString drawing() const { return drawing_; }
    void setDrawing(const QString& resource);

    /// Shows the bitmap; a null one brings the drawing back.
    void setBitmap(const QImage& image);
    [[nodiscard]] const QImage& bitmap() const { return bitmap_; }

  protected:
    void paintEvent(QPaintEvent* event) override;

  private:
    QString drawing_;
    QSvgRenderer renderer_;
    QImage bitmap_;
};

}  // namespace velunor
