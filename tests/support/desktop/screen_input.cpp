#include <X11/XKBlib.h>
#include <X11/Xlib.h>
#include <X11/Xutil.h>
#include <X11/extensions/XTest.h>
#include <X11/extensions/Xfixes.h>
#include <X11/keysym.h>

#include <algorithm>
#include <array>
#include <filesystem>
#include <stdexcept>
#include <string>
#include <vector>

#include "tests/support/desktop/display.h"
#include "tests/support/desktop/x_connection.h"

namespace velunor::testing {
namespace {

/// The key that makes a symbol, alone or with Shift.
struct KeyStroke {
    KeyCode code = 0;
    bool shifted = false;
};

// The characters of a UTF-8 text. Throws at text that is none.
std::u32string codePoints(std::string_view text) {
    // Paths are the one place where the standard library converts without a locale.
    return std::filesystem::path(std::u8string(text.begin(), text.end())).u32string();
}

KeySym symbolOf(char32_t letter) {
    if (letter == U'\n') {
        return XK_Return;
    }
    if (letter == U'\t') {
        return XK_Tab;
    }
    // The symbols of Latin-1 have its numbers, the others are counted from here.
    constexpr KeySym unicode = 0x1000000;
    return letter <= 0xff ? letter : unicode + letter;
}

// The key of a symbol; one without a symbol gets it where no key has it. Programs learn of that
// before the key is pressed. Throws when every key has a symbol.
KeyStroke strokeFor(::Display* display, KeySym symbol) {
    if (const KeyCode code = XKeysymToKeycode(display, symbol); code != 0) {
        for (const int level : {0, 1}) {
            if (XkbKeycodeToKeysym(display, code, 0, level) == symbol) {
                return {code, level == 1};
            }
        }
    }
    int first = 0;
    int last = 0;
    XDisplayKeycodes(display, &first, &last);
    for (int code = last; code >= first; --code) {
        const auto key = static_cast<KeyCode>(code);
        if (XkbKeycodeToKeysym(display, key, 0, 0) == NoSymbol) {
            std::array<KeySym, 2> both{symbol, symbol};
            XChangeKeyboardMapping(display, code, static_cast<int>(both.size()), both.data(), 1);
            XSync(display, 0);
            return {key, false};
        }
    }
    throw std::runtime_error("no key is left for a character");
}

}  // namespace

void Screen::pointAt(WindowId window, const PixelRect& place) {
    // The window manager may still be moving the window: what counts is where it is in the end.
    PixelRect before;
    static_cast<void>(eventually([&] {
        before = contentOf(window);
        XTestFakeMotionEvent(connection_->display, -1, before.x + place.x + place.width / 2,
                             before.y + place.y + place.height / 2, CurrentTime);
        XSync(connection_->display, 0);
        std::this_thread::sleep_for(std::chrono::milliseconds(30));
        return contentOf(window) == before;
    }));
}

void Screen::click() {
    XTestFakeButtonEvent(connection_->display, 1, 1, CurrentTime);
    XTestFakeButtonEvent(connection_->display, 1, 0, CurrentTime);
    XSync(connection_->display, 0);
}

void Screen::click(WindowId window, const PixelRect& place) {
    pointAt(window, place);
    click();
}

void Screen::movePointer(int x, int y) {
    XTestFakeMotionEvent(connection_->display, -1, x, y, CurrentTime);
    XSync(connection_->display, 0);
    std::this_thread::sleep_for(std::chrono::milliseconds(30));
}

void Screen::drag(WindowId window, const PixelRect& place, int byX, int byY) {
    const PixelRect content = contentOf(window);
    drag(content.x + place.x + place.width / 2, content.y + place.y + place.height / 2, byX, byY);
}

void Screen::drag(int x, int y, int byX, int byY) {
    movePointer(x, y);
    XTestFakeButtonEvent(connection_->display, 1, 1, CurrentTime);
    constexpr int steps = 20;
    for (int step = 1; step <= steps; ++step) {
        movePointer(x + byX * step / steps, y + byY * step / steps);
    }
    XTestFakeButtonEvent(connection_->display, 1, 0, CurrentTime);
    XSync(connection_->display, 0);
}

std::vector<unsigned long> Screen::pointerPicture() const {
    XFixesCursorImage* picture = XFixesGetCursorImage(connection_->display);
    if (picture == nullptr) {
        return {};
    }
    const std::size_t count = std::size_t{picture->width} * picture->height;
    std::vector<unsigned long> pixels(picture->pixels, picture->pixels + count);
    XFree(picture);
    return pixels;
}

WindowId Screen::addTerminal(const PixelRect& place) {
    const WindowId terminal = addWindow(place);
    XSelectInput(connection_->display, terminal, KeyPressMask);
    if (!comeInto(terminal)) {
        throw std::runtime_error("nobody can type into a window of the test");
    }
    return terminal;
}

bool Screen::comeInto(WindowId window) {
    return eventually([&] {
        activate(window);
        return keyFocus() == window;
    });
}

std::string Screen::typedInto(WindowId terminal) {
    std::string text;
    XEvent event{};
    while (XCheckWindowEvent(connection_->display, terminal, KeyPressMask, &event) != 0) {
        std::array<char, 8> letters{};
        const int count = XLookupString(&event.xkey, letters.data(),
                                        static_cast<int>(letters.size()), nullptr, nullptr);
        text.append(letters.data(), static_cast<std::size_t>(count));
    }
    std::ranges::replace(text, '\r', '\n');
    return text;
}

void Screen::type(std::string_view text) {
    ::Display* display = connection_->display;
    const KeyCode shift = XKeysymToKeycode(display, XK_Shift_L);
    std::vector<KeyStroke> strokes;
    for (const char32_t letter : codePoints(text)) {
        strokes.push_back(strokeFor(display, symbolOf(letter)));
    }
    for (const KeyStroke& stroke : strokes) {
        if (stroke.shifted) {
            XTestFakeKeyEvent(display, shift, 1, CurrentTime);
        }
        XTestFakeKeyEvent(display, stroke.code, 1, CurrentTime);
        XTestFakeKeyEvent(display, stroke.code, 0, CurrentTime);
        if (stroke.shifted) {
            XTestFakeKeyEvent(display, shift, 0, CurrentTime);
        }
    }
    XSync(display, 0);
}

void Screen::pressKey(const std::string& key, bool withAlt) {
    const KeyCode code = XKeysymToKeycode(connection_->display, XStringToKeysym(key.c_str()));
    const KeyCode alt = XKeysymToKeycode(connection_->display, XK_Alt_L);
    if (withAlt) {
        XTestFakeKeyEvent(connection_->display, alt, 1, CurrentTime);
    }
    XTestFakeKeyEvent(connection_->display, code, 1, CurrentTime);
    XTestFakeKeyEvent(connection_->display, code, 0, CurrentTime);
    if (withAlt) {
        XTestFakeKeyEvent(connection_->display, alt, 0, CurrentTime);
    }
    XSync(connection_->display, 0);
}

void Screen::holdKey(const std::string& key, bool down) {
    const KeyCode code = XKeysymToKeycode(connection_->display, XStringToKeysym(key.c_str()));
    XTestFakeKeyEvent(connection_->display, code, down ? 1 : 0, CurrentTime);
    XSync(connection_->display, 0);
}

}  // namespace velunor::testing
