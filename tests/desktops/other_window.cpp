// A window that somebody else works in, in one colour. What is typed into it goes to the standard
// output, and whether it is the active window to the standard error, a line for each change.

#include <QApplication>
#include <QKeyEvent>
#include <QWidget>
#include <cstdio>
#include <string>

namespace {

class OtherWindow final : public QWidget {
  public:
    explicit OtherWindow(const QColor& colour) {
        setPalette(QPalette(colour));
        setAutoFillBackground(true);
        setFocusPolicy(Qt::StrongFocus);
    }

  protected:
    bool event(QEvent* event) override {
        if (event->type() == QEvent::KeyPress) {
            // Among them those that would lead to another control.
            std::string text = static_cast<QKeyEvent*>(event)->text().toStdString();
            for (char& letter : text) {
                letter = letter == '\r' ? '\n' : letter;
            }
            std::fwrite(text.data(), 1, text.size(), stdout);
            std::fflush(stdout);
            return true;
        }
        if (event->type() == QEvent::WindowActivate || event->type() == QEvent::WindowDeactivate) {
            std::fputs(event->type() == QEvent::WindowActivate ? "active\n" : "inactive\n", stderr);
        }
        return QWidget::event(event);
    }
};

}  // namespace

// Arguments: title, colour, and "full", "maximized" or x, y, width and height.
int main(int count, char** values) {
    const QApplication application(count, values);
    const QStringList arguments = QApplication::arguments();
    if (arguments.size() != 4 && arguments.size() != 7) {
        return 2;
    }
    OtherWindow window{QColor(arguments[2])};
    window.setWindowTitle(arguments[1]);
    if (arguments[3] == QLatin1String("full")) {
        window.showFullScreen();
    } else if (arguments[3] == QLatin1String("maximized")) {
        window.showMaximized();
    } else {
        window.setGeometry(arguments[3].toInt(), arguments[4].toInt(), arguments[5].toInt(),
                           arguments[6].toInt());
        window.show();
    }
    return QApplication::exec();
}
