#pragma once

#include <xcb/xcb.h>

#include <cstdint>
#include <cstdlib>
#include <memory>
#include <string>
#include <vector>

namespace velunor {

// What this folder's sources say to the X server beside the toolkit. Main thread only, with an
// application object.

struct FreeReply {
    void operator()(void* reply) const { std::free(reply); }
};

/// What the X server answered; null where it refused.
template <class Reply>
using ReplyPointer = std::unique_ptr<Reply, FreeReply>;

/// The toolkit's connection to the X server; null outside X11.
[[nodiscard]] xcb_connection_t* x11Connection();

/// The window that covers the whole desktop.
[[nodiscard]] xcb_window_t x11Root(xcb_connection_t* x);

/// The number of a name on the X server, asked for once.
[[nodiscard]] xcb_atom_t x11Atom(xcb_connection_t* x, const std::string& name);

/// The 32-bit values of a window's property; empty when it is absent or of another format.
[[nodiscard]] std::vector<std::uint32_t> x11Values(xcb_connection_t* x, xcb_window_t window,
                                                   const std::string& property);

/// The same of many windows, asked for all at once.
[[nodiscard]] std::vector<std::vector<std::uint32_t>> x11ValuesOfEach(
    xcb_connection_t* x, const std::vector<xcb_window_t>& windows, const std::string& property);

/// The windows inside of `window` to this depth, each level from the bottom of the pile to its top.
[[nodiscard]] std::vector<xcb_window_t> x11Descendants(xcb_connection_t* x, xcb_window_t window,
                                                       int depth);

/// Has the server tell of these events of a window besides those that it tells of already.
void addX11Events(xcb_connection_t* x, xcb_window_t window, std::uint32_t events);

/// Replaces a window's property by these 32-bit values.
void setX11Values(xcb_connection_t* x, xcb_window_t window, const std::string& property,
                  const std::string& type, const std::vector<std::uint32_t>& numbers);

/// Asks the window manager for something about `window`: a client message of EWMH with up to five
/// numbers.
void requestOfX11(xcb_connection_t* x, xcb_window_t window, const std::string& message,
                  const std::vector<std::uint32_t>& numbers);

}  // namespace velunor
