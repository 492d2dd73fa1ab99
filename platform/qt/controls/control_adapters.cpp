#include "platform/qt/controls/control_adapters.h"

#include <QCoreApplication>
#include <QEvent>
#include <QLayout>
#include <cmath>

#include "platform/qt/application/image_reader.h"

namespace velunor {

namespace {

QString fromUtf8(std::string_view text) {
    return QString::fromUtf8(text.data(), static_cast<qsizetype>(text.size()));
}

void activateLayouts(QWidget& widget) {
    if (widget.layout() != nullptr) {
        widget.layout()->activate();
    }
    for (QObject* child : widget.children()) {
        if (auto* childWidget = qobject_cast<QWidget*>(child)) {
            activateLayouts(*childWidget);
        }
    }
}

}  // namespace

void settleLayouts(QWidget& window) {
    if (!window.isVisible()) {
        // The requests for a new layout are still on their way, and wait for the window to show.
        for (QLayout* layout : window.findChildren<QLayout*>()) {
            layout->invalidate();
        }
    }
    activateLayouts(window);
}

Rect frameInWindow(const QWidget& widget) {
    QWidget& window = *widget.window();
    if (!window.isVisible()) {
        // Layouts wait until the window is shown, unless they are asked.
        QEvent request(QEvent::LayoutRequest);
        QCoreApplication::sendEvent(&window, &request);
        settleLayouts(window);
    }
    const QPoint place = widget.mapTo(&window, QPoint(0, 0));
    return {{static_cast<double>(place.x()),
             static_cast<double>(window.height() - place.y() - widget.height())},
            {static_cast<double>(widget.width()), static_cast<double>(widget.height())}};
}

void QtLabel::setStringValue(std::string_view text) {
    value_ = text;
    label_.setText({fromUtf8(text), {}});
}

void QtLabel::setAttributedStringValue(const AttributedString& text, Announcement announcement) {
    value_ = plainText(text);
    label_.setText(shownText(text), announcement);
}

QtEditableField::QtEditableField(CustomTextField& field) : WidgetControl(field), field_(field) {
    QObject::connect(&field_, &CustomTextField::editingEnded, &field_, [this] {
        if (editingEnded_) {
            editingEnded_();
        }
    });
}

void QtEditableField::setStringValue(std::string_view text) {
    value_ = text;
    field_.setText(fromUtf8(text));
    shown_ = field_.text();
}

std::string QtEditableField::stringValue() const {
    const QString present = field_.text();
    return present == shown_ ? value_ : present.toStdString();
}

void QtEditableField::setEditingEnded(std::function<void()> callback) {
    editingEnded_ = std::move(callback);
}

void QtButton::setTitle(std::string_view title) {
    title_ = title;
    button_.setLiteralText(fromUtf8(title));
}

void QtButton::setTranslatesAutoresizingMask(bool) {
    // A widget in a layout has no resizing of its own that could stand against a constraint.
}

void QtButton::activateWidthConstraint(double width) {
    button_.setLeastWidth(static_cast<int>(std::ceil(width)));
}

void QtImageView::setImage(ImagePointer image) {
    view_.setImage(bitmapOf(image));
}

}  // namespace velunor
