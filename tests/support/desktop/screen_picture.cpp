// What a screen shows.

#include <X11/Xlib.h>
#include <X11/Xutil.h>

#include <stdexcept>
#include <vector>

#include "tests/support/desktop/display.h"
#include "tests/support/desktop/picture.h"
#include "tests/support/desktop/x_connection.h"

namespace velunor::testing {
namespace {

constexpr unsigned long colourBits = 0xffffff;

}  // namespace

std::size_t Screen::pixelsOfColour(WindowId window, unsigned long colour) const {
    const PixelRect content = contentOf(window);
    XImage* image =
        XGetImage(connection_->display, window, 0, 0, static_cast<unsigned>(content.width),
                  static_cast<unsigned>(content.height), AllPlanes, ZPixmap);
    if (image == nullptr) {
        return 0;
    }
    std::size_t count = 0;
    for (int y = 0; y < image->height; ++y) {
        for (int x = 0; x < image->width; ++x) {
            count += (XGetPixel(image, x, y) & colourBits) == colour ? 1 : 0;
        }
    }
    XDestroyImage(image);
    return count;
}

Picture Screen::picture() const {
    const PixelRect all = contentOf(connection_->root);
    Picture picture{.width = all.width, .height = all.height};
    XImage* image =
        XGetImage(connection_->display, connection_->root, 0, 0, static_cast<unsigned>(all.width),
                  static_cast<unsigned>(all.height), AllPlanes, ZPixmap);
    if (image == nullptr) {
        throw std::runtime_error("the screen shows no picture");
    }
    picture.pixels.reserve(static_cast<std::size_t>(all.width) *
                           static_cast<std::size_t>(all.height));
    for (int y = 0; y < image->height; ++y) {
        for (int x = 0; x < image->width; ++x) {
            picture.pixels.push_back(
                static_cast<std::uint32_t>(XGetPixel(image, x, y) & colourBits));
        }
    }
    XDestroyImage(image);
    return picture;
}

std::vector<PixelRect> Screen::placesOnScreen() const {
    WindowId root = 0;
    WindowId parent = 0;
    WindowId* children = nullptr;
    unsigned count = 0;
    std::vector<PixelRect> places;
    if (XQueryTree(connection_->display, connection_->root, &root, &parent, &children, &count) ==
            0 ||
        children == nullptr) {
        return places;
    }
    for (unsigned index = 0; index < count; ++index) {
        XWindowAttributes window{};
        if (XGetWindowAttributes(connection_->display, children[index], &window) != 0 &&
            window.map_state == IsViewable && window.c_class == InputOutput) {
            places.push_back({window.x, window.y, window.width + 2 * window.border_width,
                              window.height + 2 * window.border_width});
        }
    }
    XFree(children);
    return places;
}

}  // namespace velunor::testing
