// The least that a program of this toolkit can be: one window with a text and a button that ends
// it. What the prompt takes beyond this is its own.

#include <QApplication>
#include <QLabel>
#include <QPushButton>
#include <QTimer>
#include <QVBoxLayout>
#include <QWidget>

namespace {

bool pictured = false;

}  // namespace

/// Does nothing. Whoever counts what the first picture took stops counting here.
void afterFirstPicture() {
    pictured = true;
}

namespace {

class BareWindow final : public QWidget {
  public:
    BareWindow() {
        timer_.setSingleShot(true);
        QObject::connect(&timer_, &QTimer::timeout, afterFirstPicture);
    }

  protected:
    void paintEvent(QPaintEvent*) override {
        if (!pictured) {
            timer_.start(0);
        }
    }

  private:
    QTimer timer_;
};

}  // namespace

int main(int argc, char** argv) {
    const QApplication application(argc, argv);
    BareWindow window;
    QVBoxLayout layout(&window);
    QLabel text(QStringLiteral("An update is ready"));
    QPushButton button(QStringLiteral("Update Now"));
    layout.addWidget(&text);
    layout.addWidget(&button);
    QObject::connect(&button, &QPushButton::clicked, &application, [] { QApplication::exit(0); });
    window.show();
    return QApplication::exec();
}
