#pragma once

#include <QWidget>
#include <functional>
#include <memory>
#include <vector>

#include "platform/qt/control_adapters.h"
#include "window/prompt_view.h"

namespace Ui {
class PromptWindow;
}

namespace velunor {

/// The prompt's window: a card that takes the height of its content, never more than the usable
/// area, and that only an answer closes. Main thread only.
class PromptWindow : public QWidget {
    Q_OBJECT

  public:
    PromptWindow();
    PromptWindow(const PromptWindow&) = delete;
    PromptWindow& operator=(const PromptWindow&) = delete;
    ~PromptWindow() override;

    /// The controls for the logic, connected to the outlets by their names in the form.
    [[nodiscard]] PromptView view() const;

    void onUpdateNow(std::function<void()> action) { updateNow_ = std::move(action); }
    void onPostpone(std::function<void()> action) { postpone_ = std::move(action); }
    void onChangeUserName(std::function<void()> action) { changeUserName_ = std::move(action); }
    /// Called when the window appears and again when its size or the usable area has changed.
    void onAppear(std::function<void()> action) { appear_ = std::move(action); }

    /// Gives the window its final size, places it and shows it without taking the focus.
    void present();

  protected:
    bool event(QEvent* event) override;
    bool eventFilter(QObject* watched, QEvent* event) override;
    void closeEvent(QCloseEvent* event) override;
    void paintEvent(QPaintEvent* event) override;
    void mousePressEvent(QMouseEvent* event) override;
    void mouseMoveEvent(QMouseEvent* event) override;

  private:
    class OutletConnector;

    void connectSignals();
    void followScreens();
    void place();
    /// Gives the parts and the window the heights that their contents need.
    void fitToContent();
    void fitLater();

    std::unique_ptr<Ui::PromptWindow> form_;
    std::vector<std::unique_ptr<View>> views_;
    std::vector<std::unique_ptr<QtLayoutConstraint>> constraints_;
    PromptView view_;
    std::function<void()> updateNow_ = [] {};
    std::function<void()> postpone_ = [] {};
    std::function<void()> changeUserName_ = [] {};
    std::function<void()> appear_ = [] {};
    bool fitQueued_ = false;
    QPointF pressedAt_;
    /// The user has dragged the window; it stays where they put it.
    bool movedByUser_ = false;
    bool hasSeeThroughCorners_ = false;
};

}  // namespace velunor
