#pragma once

#include <QCoreApplication>
#include <QEvent>
#include <QImage>
#include <QPaintEvent>
#include <QWidget>
#include <utility>

namespace velunor {

/// Counts the events of one type that reach a widget.
class Events final : public QObject {
  public:
    Events(QObject& watched, QEvent::Type type) : type_(type) { watched.installEventFilter(this); }
    bool eventFilter(QObject*, QEvent* event) override {
        count_ += event->type() == type_ ? 1 : 0;
        return false;
    }
    [[nodiscard]] int soFar() const { return count_; }
    /// Those since the last call, once all events of now are done with.
    int take() {
        QCoreApplication::sendPostedEvents();
        QCoreApplication::processEvents();
        return std::exchange(count_, 0);
    }

  private:
    QEvent::Type type_;
    int count_ = 0;
};

/// Counts how often a widget is asked to paint one point of itself.
class Paints final : public QObject {
  public:
    Paints(QWidget& widget, const QPoint& point) : point_(point) {
        widget.installEventFilter(this);
    }
    bool eventFilter(QObject*, QEvent* event) override {
        if (event->type() == QEvent::Paint) {
            const auto& paint = static_cast<const QPaintEvent&>(*event);
            count_ += paint.region().contains(point_) ? 1 : 0;
        }
        return false;
    }
    [[nodiscard]] int count() const { return count_; }

  private:
    QPoint point_;
    int count_ = 0;
};

/// What is drawn there of a widget.
[[nodiscard]] inline QColor colourAt(QWidget& widget, const QPoint& place) {
    return widget.grab().toImage().pixelColor(place);
}

[[nodiscard]] inline bool hasColour(const QImage& image, const QColor& colour) {
    for (int y = 0; y < image.height(); ++y) {
        for (int x = 0; x < image.width(); ++x) {
            if (image.pixelColor(x, y) == colour) {
                return true;
            }
        }
    }
    return false;
}

/// The smallest rectangle around all that is not of the colour `ground`.
[[nodiscard]] inline QRect inkOn(const QImage& image, const QColor& ground) {
    QRect ink;
    for (int y = 0; y < image.height(); ++y) {
        for (int x = 0; x < image.width(); ++x) {
            if (image.pixelColor(x, y) != ground) {
                ink |= QRect(x, y, 1, 1);
            }
        }
    }
    return ink;
}

}  // namespace velunor
