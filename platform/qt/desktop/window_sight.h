#pragma once

#include <QAbstractNativeEventFilter>
#include <QElapsedTimer>
#include <QTimer>
#include <QWidget>
#include <array>

namespace velunor {

/// Watches whether the desktop shows a window. It hides one that is minimised or on another
/// workspace, or that another window covers as a whole; one of which a part is in sight is shown.
/// Without X11 it is what the toolkit knows. Main thread only.
class WindowSight final : public QObject, public QAbstractNativeEventFilter {
    Q_OBJECT

  public:
    /// `window` is on the screen already, and outlives this object.
    explicit WindowSight(QWidget& window);

    bool eventFilter(QObject* watched, QEvent* event) override;
    bool nativeEventFilter(const QByteArray& eventType, void* message, qintptr* result) override;

  signals:
    /// The desktop has been hiding the window for a while.
    void lost();
    /// It shows the window again.
    void found();

  private:
    /// Something has changed: looks, once the desktop is done with it.
    void lookSoon();
    void look();
    [[nodiscard]] bool isHidden() const;
    /// Hears of changes of the active window, which becomes a full-screen one without a change of
    /// any other.
    void watchActiveWindow();

    QWidget& window_;
    QTimer looking_;
    QElapsedTimer hiddenFor_;
    bool lost_ = false;
    std::array<quint32, 4> telling_{};
    quint32 activeWindow_ = 0;
    /// The X server said so last; it says nothing where nothing changes.
    bool obscured_ = false;
};

/// Brings a window to the front and gives it the keyboard, as a task list does for its user.
/// `token` is the activation token that allows it, empty where there is none. Main thread only.
void bringToFront(QWidget& window, const QByteArray& token);

}  // namespace velunor
