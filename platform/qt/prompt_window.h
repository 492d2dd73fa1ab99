#pragma once

#include <QWidget>
#include <functional>
#include <memory>
#include <vector>

#include "platform/qt/qt_desktop.h"
#include "platform/qt/x11_desktop.h"
#include "window/prompt_view.h"

namespace Ui {
class PromptForm;
}

namespace velunor {

/// The prompt's window: a card without decoration that shows the form, grows with its texts up to
/// the usable area (then the texts scroll and the buttons stay in sight), and cannot be closed.
/// Every outlet is connected to the form's object of the same name. Main thread only.
class PromptWindow : public QWidget {
    Q_OBJECT

  public:
    PromptWindow();
    PromptWindow(const PromptWindow&) = delete;
    PromptWindow& operator=(const PromptWindow&) = delete;
    ~PromptWindow() override;

    /// What the controller works with; valid as long as the window.
    [[nodiscard]] PromptView& view() { return view_; }
    [[nodiscard]] QtWindow& window() { return window_; }

    void setUpdateNow(std::function<void()> action) { updateNow_ = std::move(action); }
    void setPostpone(std::function<void()> action) { postpone_ = std::move(action); }
    void setChangeUserName(std::function<void()> action) { changeUserName_ = std::move(action); }
    /// Called when the window is about to appear at its final size, and again whenever its size,
    /// the screen or the usable area changes.
    void setViewDidAppear(std::function<void()> callback) { viewDidAppear_ = std::move(callback); }

    bool eventFilter(QObject* watched, QEvent* event) override;

  protected:
    void showEvent(QShowEvent* event) override;
    void closeEvent(QCloseEvent* event) override;
    void paintEvent(QPaintEvent* event) override;
    void changeEvent(QEvent* event) override;
    void mousePressEvent(QMouseEvent* event) override;

  private:
    void connectOutlets();
    void connectActions();
    void followDesktop();
    void scheduleRelayout();
    /// Takes the size that the texts need, at most what the usable area allows.
    void relayout();
    void place();
    void applyTheme();
    std::unique_ptr<Ui::PromptForm> form_;
    std::vector<std::shared_ptr<void>> controls_;
    QtWindow window_;
    PromptView view_;
    std::function<void()> updateNow_;
    std::function<void()> postpone_;
    std::function<void()> changeUserName_;
    std::function<void()> viewDidAppear_;
    std::unique_ptr<X11DesktopChanges> desktopChanges_;
    bool relayoutScheduled_ = false;
    /// Whether a drag was begun, and where the logic placed the window last.
    bool dragged_ = false;
    QPoint placedAt_;
    bool sessionEnds_ = false;
};

}  // namespace velunor
