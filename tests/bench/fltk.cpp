// The least that a window can be in a toolkit made to be small: the floor.

#include <FL/Fl.H>
#include <FL/Fl_Box.H>
#include <FL/Fl_Button.H>
#include <FL/Fl_Window.H>

int main() {
    Fl_Window window(240, 90, "An update is ready");
    const Fl_Box text(10, 10, 220, 30, "An update is ready");
    Fl_Button button(140, 50, 90, 30, "Update Now");
    button.callback([](Fl_Widget* pressed) { pressed->window()->hide(); });
    window.end();
    window.show();
    return Fl::run();
}
