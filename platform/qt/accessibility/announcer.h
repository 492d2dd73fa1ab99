#pragma once

#include <QString>
#include <QWidget>

namespace velunor {

/// Speaks to assistive technologies without moving the focus: an invisible part of a window that
/// they meet as a notification. Main thread only.
class Announcer final : public QWidget {
    Q_OBJECT

  public:
    explicit Announcer(QWidget* window);

    /// Says `text` once, and has it as its name from then on; nothing when it is empty.
    void announce(const QString& text);
};

}  // namespace velunor
