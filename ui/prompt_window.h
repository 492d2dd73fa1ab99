#pragma once

#include <QTimer>
#include <QWidget>
#include <array>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "platform/qt/desktop/x11_desktop.h"
#include "window/prompt_view.h"

class QScrollArea;

namespace Ui {
class PromptForm;
}

namespace velunor {

class HiddenHint;
class KeyboardEntrance;
class PromptSpeech;

/// The text of a key in the user's language; none where there is no such text.
using TextSource = std::function<std::optional<std::string>(std::string_view key)>;

/// The prompt's window: a card without decoration that shows the form, grows with its texts up to
/// the usable area (then the texts scroll, while countdown, attempts and buttons stay in sight),
/// and cannot be closed. No field has the caret and no key does anything before the user has
/// clicked or tabbed into the window. Every outlet is connected to the form's object of the same
/// name. Main thread only.
class PromptWindow final : public QWidget {
    Q_OBJECT

  public:
    PromptWindow();
    Q_DISABLE_COPY_MOVE(PromptWindow)
    ~PromptWindow() override;

    /// The form's controls for the logic, without a window. Valid as long as this object.
    [[nodiscard]] PromptView view() const { return view_; }

    /// Takes the texts of its own that `texts` has: the fields' names, which stand in them while
    /// they are empty, and what only a screen reader says. Those that it lacks stay English, and a
    /// field whose name is missing shows none.
    void localize(const TextSource& texts);

    /// What is pressed while `action` runs does not call it again.
    void onUpdateNow(std::function<void()> action) { updateNow_ = std::move(action); }
    void onPostpone(std::function<void()> action) { postpone_ = std::move(action); }
    void onChangeUserName(std::function<void()> action) { changeUserName_ = std::move(action); }
    /// Called when the window is about to appear at its final size, and again whenever its size,
    /// the screen or the usable area changes.
    void onAppear(std::function<void()> action) { appear_ = std::move(action); }

    /// Shows the window, placed and without taking the focus.
    void present();
    /// Takes back what the desktop shows of the prompt beside the window: the process ends.
    void leave();

    bool eventFilter(QObject* watched, QEvent* event) override;

  protected:
    bool event(QEvent* event) override;
    void showEvent(QShowEvent* event) override;
    void closeEvent(QCloseEvent* event) override;
    void paintEvent(QPaintEvent* event) override;
    void changeEvent(QEvent* event) override;
    void mousePressEvent(QMouseEvent* event) override;
    void mouseMoveEvent(QMouseEvent* event) override;
    void mouseReleaseEvent(QMouseEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;
    bool focusNextPrevChild(bool next) override;

  private:
    void connectActions();
    /// Shows the window again after it was minimised from outside; it has no button for that.
    void comeBack();
    /// Lays the window out anew whenever the screens, their panels or the window's frame change.
    void followDesktop();
    /// Asks for one new layout, once the events of now are done with and no button is held.
    void scheduleRelayout();
    [[nodiscard]] bool isPressed() const;
    /// Takes the size that the texts need, at most what the usable area allows, and that place.
    void relayout();
    void takeSize();
    /// Does what the user need not wait for: the window's icon and the desktop's own settings.
    void afterFirstPicture();
    void place();
    /// Usable area of the main screen, or of the one where the user has put the window.
    [[nodiscard]] QRect area() const;
    void drawCard(QPainter& painter);
    void styleScrollBars();
    /// Puts the caret into the field that the user types in first, unless a control has the focus
    /// already; false where it stays as it is.
    bool enterFirstField(Qt::FocusReason reason);
    /// Brings `control` into sight where it is in a part that scrolls.
    void scrollTo(QWidget* control);
    /// The parts of the card, each of which scrolls what does not fit.
    [[nodiscard]] std::array<QScrollArea*, 3> areas() const;

    /// Radius of the card's corners in points.
    static constexpr int cardRadius = 12;

    std::unique_ptr<Ui::PromptForm> form_;
    std::vector<std::unique_ptr<View>> controls_;
    PromptView view_;
    PromptSpeech* speech_ = nullptr;
    KeyboardEntrance* entrance_;
    std::unique_ptr<QObject> settings_;
    HiddenHint* hiddenHint_ = nullptr;
    QString hiddenText_ = "The window is hidden. Click here to show it.";
    std::function<void()> updateNow_ = [] {};
    std::function<void()> postpone_ = [] {};
    std::function<void()> changeUserName_ = [] {};
    std::function<void()> appear_ = [] {};
    X11DesktopChanges desktopChanges_{[this] { scheduleRelayout(); }};
    QTimer relayoutTimer_;
    QTimer afterPictureTimer_;
    QTimer minimizedTimer_;
    QTimer comeBackTimer_;
    /// Runs for a moment after each check.
    QTimer settling_;
    QPointF pressedAt_;
    /// The button that is down has begun a move already, or was not pressed on the card.
    bool moveBegun_ = true;
    /// It follows the pointer by itself, where the window manager moves no windows on request.
    bool movesItself_ = false;
    QRect placeAtPress_;
    /// The user has dragged the window; it stays where they put it.
    bool movedByUser_ = false;
    /// The screen where it stood when it was last looked at, and what was usable of that.
    const QScreen* screenOfArea_ = nullptr;
    QRect area_;
    bool sessionEnds_ = false;
    bool pictured_ = false;
};

}  // namespace velunor
