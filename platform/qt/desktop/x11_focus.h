#pragma once

#include <QAbstractNativeEventFilter>
#include <QWidget>

namespace velunor {

/// Keeps a window of an X11 desktop from getting the keyboard when it appears. Some window managers
/// give it to each new window, whatever that asks for, in the midst of what is being typed
/// elsewhere. Outside X11 nothing here does anything. Main thread only.
class X11Focus final : public QAbstractNativeEventFilter {
  public:
    /// `window` must outlive this object.
    explicit X11Focus(QWidget& window) : window_(window) {}
    Q_DISABLE_COPY_MOVE(X11Focus)
    ~X11Focus() override = default;

    /// Whether anything here works, which it does on X11 alone.
    [[nodiscard]] static bool isPossible();

    /// Call it before the window is shown: it tells window managers that it takes no keys, and when
    /// one gives it the focus all the same, the window that had it gets it back.
    void withhold();
    /// From now on window managers may give the window the focus.
    void offer();

    bool nativeEventFilter(const QByteArray& eventType, void* message, qintptr* result) override;

  private:
    /// Tells window managers whether the window wants keys.
    void setWanted(bool wanted);
    /// Whether it is the window itself or its frame, which some make the active one.
    [[nodiscard]] bool isOwn(quint32 window) const;
    /// Sees who is the active window, and gives that back where it is this one.
    void watchActiveWindow();

    QWidget& window_;
    bool withheld_ = false;
    quint32 activeWindowAtom_ = 0;
    /// The window that was active last beside this one; 0 where there was none.
    quint32 former_ = 0;
};

}  // namespace velunor
