#pragma once

#include <QString>
#include <QWidget>

namespace velunor {

/// Speaks to assistive technologies without moving the focus: an invisible part of a window that
/// they meet as a notification. Main thread only.
class Announcer : public QWidget {
    Q_OBJECT

  public:
    explicit Announcer(QWidget* window);

    /// Says `text` once; nothing when it is empty.
    void announce(const QString& text);
    /// What was said last.
    [[nodiscard]] QString spoken() const { return spoken_; }

  private:
    QString spoken_;
};

}  // namespace velunor
